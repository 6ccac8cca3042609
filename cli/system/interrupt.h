#pragma once

namespace plexum::cli {

// While it lives, an interrupt doesn't end the program but is remembered, so that the command can
// end in order. Interrupts are Ctrl+C, SIGTERM and, on Windows, the closing of the console. There
// may be one such scope at a time.
class InterruptScope {
 public:
  InterruptScope();
  ~InterruptScope();
  InterruptScope(const InterruptScope&) = delete;
  InterruptScope& operator=(const InterruptScope&) = delete;

  [[nodiscard]] bool interrupted() const;
  // Sleeps until it is interrupted.
  void wait() const;
};

}  // namespace plexum::cli
