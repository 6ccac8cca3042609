#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace plexum::cli {

// The exit codes of the program.
enum class ExitCode : int {
  kDone = 0,
  kFailed = 1,   // the PLC, the connection or the system
  kUsage = 2,    // a mistake in the command line
  kRefused = 3,  // the user said no, or nobody was there to be asked
};

// What ended a command before it was done: one line for the user, and the exit code.
class Failure : public std::runtime_error {
 public:
  // Who failed, for catchers that go on after a refusal.
  enum class Origin : std::uint8_t {
    kPlcRefused,  // the PLC answered and said no; the connection is good
    kOther,
  };

  explicit Failure(const std::string& line, ExitCode code = ExitCode::kFailed,
                   Origin origin = Origin::kOther)
      : std::runtime_error(line), code_(code), origin_(origin) {}

  [[nodiscard]] ExitCode code() const noexcept { return code_; }
  [[nodiscard]] bool refused_by_plc() const noexcept { return origin_ == Origin::kPlcRefused; }

 private:
  ExitCode code_;
  Origin origin_;
};

// Prints the failure's line on standard error.
void report(const Failure& failure);

// A command line that makes no sense or asks for the impossible: exit status 2.
inline Failure usage_error(const std::string& line) { return Failure(line, ExitCode::kUsage); }

}  // namespace plexum::cli
