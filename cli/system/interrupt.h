#pragma once

namespace plexum::cli {

// While it lives, an interrupt from the keyboard (or SIGTERM; on Windows also the end of the
// console) doesn't end the program but is remembered, so that a command that runs until then can
// end in order. One at a time.
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
