#include "activex/link_environment.h"

#include "activex/com_error.h"
#include "platform/windows/decimal_text.h"
#include "platform/windows/messages.h"

namespace plexum::activex {

std::uint32_t LinkEnvironment::tick_count() { return windows::tick_count(); }

void LinkEnvironment::wait_for_input(std::uint32_t milliseconds) {
  if (owner_.is_abandoned()) throw ComError(E_ABORT);
  windows::wait_for_input(milliseconds);
}

void LinkEnvironment::process_messages() {
  const FloatingPointBoundary::Host host(floating_point_);
  windows::process_messages();
}

void LinkEnvironment::show_message_box(const std::string&) {}

void LinkEnvironment::property_changed(const std::string& name) {
  const FloatingPointBoundary::Host host(floating_point_);
  owner_.property_changed(name);
}

double LinkEnvironment::number_from_text(const std::string& text) {
  return windows::number_from_text(text);
}

std::string LinkEnvironment::text_from_number(double number) {
  return windows::text_from_number(number);
}

}  // namespace plexum::activex
