#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli/link/plc_connection.h"

namespace plexum::cli {

enum class RunMode : std::uint8_t { kUnknown, kStop, kStartUp, kRun };

// "RUN", "STOP", "STARTUP", "unknown".
const char* name_of(RunMode mode);

// One byte of state list 0x0424: the low byte of the event id of the CPU's last change of mode.
struct ModeByte {
  std::uint8_t value = 0;

  // The bits, least significant first.
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

// The lamps in the state lists 0x0019, 0x0119, 0x0074 and 0x0174.
bool is_list_of_lamps(const client::StateList& list);
std::vector<Lamp> lamps_in(const client::StateList& list);
// By the lamps RUN and STOP.
RunMode mode_by_lamps(const std::vector<Lamp>& lamps);

// They ask the PLC, and throw Failure.
client::StateList read_state_list(PlcConnection& plc, std::uint16_t id, std::uint16_t index = 0);
ModeByte read_mode_byte(PlcConnection& plc);
std::vector<Lamp> read_lamps(PlcConnection& plc);
// The mode by the mode byte; where that byte has no known meaning, by the lamps.
RunMode mode_by(PlcConnection& plc, ModeByte byte);
RunMode read_mode(PlcConnection& plc);

}  // namespace plexum::cli
