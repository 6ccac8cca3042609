#pragma once

#include <cstdint>
#include <string>

#include "base/host_environment.h"
#include "platform/posix/event_loop.h"

namespace plexum::posix {

// A host whose message queue is an event loop and whose numbers have a decimal point.
class PosixHostEnvironment : public HostEnvironment {
 public:
  // The loop must outlive the environment and belongs to the same thread.
  explicit PosixHostEnvironment(EventLoop& loop) : loop_(loop) {}

  std::uint32_t tick_count() override;
  void wait_for_input(std::uint32_t milliseconds) override;
  void process_messages() override;
  // Writes one line to standard error: there are no windows.
  void show_message_box(const std::string& text) override;
  // Does nothing: there is no container.
  void property_changed(const std::string& name) override;
  double number_from_text(const std::string& text) override;
  std::string text_from_number(double number) override;

 private:
  EventLoop& loop_;
};

}  // namespace plexum::posix
