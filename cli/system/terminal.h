#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace plexum::cli {

enum class Stream : std::uint8_t { kInput, kOutput, kError };

bool is_terminal(Stream stream);

// Whether colours and lines that are painted over are welcome: on a terminal, unless the
// environment has NO_COLOR or names a terminal that can't.
bool may_animate(Stream stream);

// The width of a terminal in characters; 80 where it can't be told.
unsigned terminal_width(Stream stream);
// Its height in lines; 24 where it can't be told.
unsigned terminal_height(Stream stream);

// Before something that can stop a plant: asks on the terminal whether to do `what` ("stop the CPU
// of 192.0.2.10:102"), unless `yes` says so already. Throws Failure with ExitCode::kRefused when
// the user declines, or when there is no terminal to ask on.
void ask_before(const std::string& what, bool yes);

// The progress of a longer job on standard error: a bar on a terminal, a line a step elsewhere.
class Progress {
 public:
  Progress(std::string title, std::size_t steps);
  // Ends the bar's line.
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // One more step begins; `name` says which.
  void step(const std::string& name);

 private:
  const std::string title_;
  const std::size_t steps_;
  const bool animated_;
  std::size_t begun_ = 0;
};

}  // namespace plexum::cli
