#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli/link/session.h"

namespace plexum::cli {

enum class RunMode : std::uint8_t { kUnknown, kStop, kStartUp, kRun };

// "RUN", "STOP", "STARTUP", "unknown".
const char* name_of(RunMode mode);

// The byte of state list 0x0424 that the control gives the bits of: the low byte of the event that
// brought the CPU into its mode.
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

  // As the CPU's front has it: "RUN", "BUS1F"; "lamp 30" for one without a name.
  [[nodiscard]] std::string name() const;
  // "on", "off", "blinking", "blinking slowly".
  [[nodiscard]] const char* state() const;
};

struct LampList {
  std::string bytes;  // the answer from the data field's return code on, as the control gives it
  std::vector<Lamp> lamps;

  [[nodiscard]] RunMode mode() const;
};

// All read from the PLC; they throw Failure.
ModeByte read_mode_byte(Session& session);
LampList read_lamps(Session& session);
// By the mode byte, and by the lamps where that has no words.
RunMode read_mode(Session& session);

}  // namespace plexum::cli
