#pragma once

namespace plexum::cli {

// While it lives, an interrupt from the keyboard (or SIGTERM) doesn't end the program but is
// remembered, so that a command that runs until then can end in order. One at a time.
class InterruptScope {
 public:
  InterruptScope();
  ~InterruptScope();
  InterruptScope(const InterruptScope&) = delete;
  InterruptScope& operator=(const InterruptScope&) = delete;

  [[nodiscard]] bool interrupted() const;

 private:
  void (*previous_interrupt_)(int);
  void (*previous_termination_)(int);
};

}  // namespace plexum::cli
