#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace plexum::cli {

enum class Stream : std::uint8_t { kInput, kOutput, kError };

bool is_terminal(Stream stream);
// Whether the terminal of that stream understands colours and cursor movements.
bool takes_escape_sequences(Stream stream);

// Whether to use colours and to paint over lines: the stream is a terminal that can do it, and the
// environment has no NO_COLOR.
bool may_animate(Stream stream);

// In characters; 0 where the system doesn't tell it.
struct TerminalSize {
  unsigned width = 0;
  unsigned height = 0;
};
TerminalSize told_size(Stream stream);

// The width in characters and the height in lines; 80 and 24 where the system doesn't tell them.
unsigned terminal_width(Stream stream);
unsigned terminal_height(Stream stream);

// Asks on the terminal whether to do `what` ("stop the CPU of 192.0.2.10:102"): for actions that
// can stop a plant. Doesn't ask where `yes` is set. Throws Failure with ExitCode::kRefused when the
// user declines, or when there is no terminal to ask on.
void ask_before(const std::string& what, bool yes);

// Shows the progress of a long job on standard error: as a bar on a terminal, elsewhere as one line
// for each step.
class Progress {
 public:
  Progress(std::string title, std::size_t steps);
  // Ends the bar's line.
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // Shows that the next step begins; `name` is its name.
  void step(const std::string& name);

 private:
  const std::string title_;
  const std::size_t steps_;
  const bool animated_;
  std::size_t begun_ = 0;
};

}  // namespace plexum::cli
