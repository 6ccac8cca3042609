#include "platform/windows/host_environment.h"

#include "platform/windows/decimal_text.h"
#include "platform/windows/message_box.h"
#include "platform/windows/messages.h"

namespace plexum::windows {

std::uint32_t WindowsHostEnvironment::tick_count() { return windows::tick_count(); }

void WindowsHostEnvironment::wait_for_input(std::uint32_t milliseconds) {
  if (abandoned_) throw Abandoned();
  windows::wait_for_input(milliseconds);
}

void WindowsHostEnvironment::process_messages() { windows::process_messages(); }

void WindowsHostEnvironment::show_message_box(const std::string& text) {
  if (abandoned_) return;
  ModalMessageBox box(text, owner_window());
  boxes_.push_back(&box);
  try {
    box.show();
  } catch (...) {  // a box that can't be shown is none to close later
    boxes_.pop_back();
    throw;
  }
  boxes_.pop_back();
}

double WindowsHostEnvironment::number_from_text(const std::string& text) {
  return windows::number_from_text(text);
}

std::string WindowsHostEnvironment::text_from_number(double number) {
  return windows::text_from_number(number);
}

void WindowsHostEnvironment::abandon() noexcept {
  abandoned_ = true;
  for (ModalMessageBox* box : boxes_) box->close();
}

}  // namespace plexum::windows
