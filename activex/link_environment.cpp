#include "activex/link_environment.h"

namespace plexum::activex {

void LinkEnvironment::process_messages() {
  const FloatingPointBoundary::Host host(floating_point_);
  WindowsHostEnvironment::process_messages();
}

void LinkEnvironment::show_message_box(const std::string& text) {
  const FloatingPointBoundary::Host host(floating_point_);
  WindowsHostEnvironment::show_message_box(text);
}

void LinkEnvironment::property_changed(const std::string& name) {
  const FloatingPointBoundary::Host host(floating_point_);
  owner_.notify_change(name);
}

}  // namespace plexum::activex
