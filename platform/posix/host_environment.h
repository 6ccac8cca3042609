#pragma once

#include <cstdint>
#include <string>

#include "base/host_environment.h"
#include "platform/posix/event_loop.h"

namespace plexum::posix {

// A host whose message queue is an event loop and whose numbers are plain decimal ones.
class PosixHostEnvironment : public HostEnvironment {
 public:
  // The loop must outlive the environment and belongs to the same thread.
  explicit PosixHostEnvironment(EventLoop& loop, char decimal_separator = '.');

  std::uint32_t tick_count() override;
  void wait_for_input(std::uint32_t milliseconds) override;
  void process_messages() override;
  // One line on standard error, for want of a window.
  void show_message_box(const std::string& text) override;
  // There is no container to be told.
  void property_changed(const std::string& name) override;
  double number_from_text(const std::string& text) override;
  std::string text_from_number(double number) override;

 private:
  EventLoop& loop_;
  const char decimal_separator_;
};

}  // namespace plexum::posix
