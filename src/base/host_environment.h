#pragma once

#include <cstdint>
#include <string>

namespace plexum {

// What the control asks of the world that hosts it. Every call is made on the host's own thread.
//
// Any member may throw; an exception passes through the running method of the control to whoever
// called it. An environment ends a wait whose host has gone away by throwing from wait_for_input.
class HostEnvironment {
 public:
  HostEnvironment() = default;
  HostEnvironment(const HostEnvironment&) = delete;
  HostEnvironment& operator=(const HostEnvironment&) = delete;
  virtual ~HostEnvironment() = default;

  // Milliseconds of a steady clock; wraps after 2^32.
  virtual std::uint32_t tick_count() = 0;

  // Waits until input or a message arrives for this thread, at most `milliseconds`.
  virtual void wait_for_input(std::uint32_t milliseconds) = 0;

  // Lets the host handle what is pending for it, once and bounded. The host may call into the
  // control from here.
  virtual void process_messages() = 0;

  // Shows a message box with an OK button and the host's own title; returns when it is closed.
  virtual void show_message_box(const std::string& text) = 0;  // UTF-8

  // Tells the container that the property of that name has a new value.
  virtual void property_changed(const std::string& name) = 0;

  // A number from a decimal text (UTF-8) by the user's locale. Throws RuntimeError 13 for a text
  // that is no number, 6 for one beyond the range of a double.
  virtual double number_from_text(const std::string& text) = 0;

  // The text of a number by the user's locale: up to 15 significant digits, no trailing zeros.
  virtual std::string text_from_number(double number) = 0;
};

}  // namespace plexum
