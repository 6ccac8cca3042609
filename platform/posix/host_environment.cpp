#include "platform/posix/host_environment.h"

#include <chrono>
#include <iostream>

#include "platform/portable/decimal_text.h"

namespace plexum::posix {
namespace {

constexpr char kDecimalSeparator = '.';

}  // namespace

std::uint32_t PosixHostEnvironment::tick_count() {
  const auto now = EventLoop::Clock::now().time_since_epoch();
  return static_cast<std::uint32_t>(
      std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

void PosixHostEnvironment::wait_for_input(std::uint32_t milliseconds) {
  loop_.wait(std::chrono::milliseconds(milliseconds));
}

void PosixHostEnvironment::process_messages() { loop_.process(); }

void PosixHostEnvironment::show_message_box(const std::string& text) {
  std::cerr << text << std::endl;
}

void PosixHostEnvironment::property_changed(const std::string&) {}

double PosixHostEnvironment::number_from_text(const std::string& text) {
  return portable::number_from_text(text, kDecimalSeparator);
}

std::string PosixHostEnvironment::text_from_number(double number) {
  return portable::text_from_number(number, kDecimalSeparator);
}

}  // namespace plexum::posix
