#pragma once

#include <stdexcept>
#include <string>

namespace plexum::cli {

// The exit codes of the program.
enum class ExitCode : int {
  kDone = 0,
  kFailed = 1,   // the PLC, the connection or the system
  kUsage = 2,    // the command line
  kRefused = 3,  // the user said no, or wasn't there to be asked
};

// Ends a command: the one line that the user reads, and the exit code.
class Failure : public std::runtime_error {
 public:
  explicit Failure(const std::string& line, ExitCode code = ExitCode::kFailed)
      : std::runtime_error(line), code_(code) {}

  [[nodiscard]] ExitCode code() const noexcept { return code_; }

 private:
  ExitCode code_;
};

// Prints the line on standard error.
void report(const Failure& failure);

// What can't be done as it was asked for.
inline Failure usage_error(const std::string& line) { return Failure(line, ExitCode::kUsage); }

}  // namespace plexum::cli
