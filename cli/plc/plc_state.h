#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli/link/plc_connection.h"

namespace plexum::cli {

enum class RunMode : std::uint8_t { kUnknown, kStop, kStartUp, kRun };

// "RUN", "STOP", "STARTUP", "unknown".
const char* name_of(RunMode mode);

// One byte of state list 0x0424: the low byte of the event id of the CPU's last change of mode. The
// control gives the bits of this byte.
struct ModeByte {
  std::uint8_t value = 0;

  // The bits as the control gives them: least significant first.
  [[nodiscard]] std::string bits() const;
  [[nodiscard]] RunMode mode() const;
};

struct Lamp {
  enum class Blinking : std::uint8_t { kNo, kNormally, kSlowly };

  unsigned number = 0;
  bool on = false;
  Blinking blinking = Blinking::kNo;

  // As printed on the CPU's front: "RUN", "BUS1F"; "lamp 30" for one without a name.
  [[nodiscard]] std::string name() const;
  // "on", "off", "blinking", "blinking slowly".
  [[nodiscard]] const char* state() const;
};

struct LampList {
  std::string bytes;  // the answer from the data field's return code on, as the control gives it
  std::vector<Lamp> lamps;

  [[nodiscard]] RunMode mode() const;
};

// They ask the PLC, and throw Failure.
ModeByte read_mode_byte(PlcConnection& plc);
LampList read_lamps(PlcConnection& plc);
// The mode by the mode byte; where that byte has no known meaning, by the lamps.
RunMode read_mode(PlcConnection& plc);

}  // namespace plexum::cli
