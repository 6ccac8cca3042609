#include "activex/link_environment.h"

namespace plexum::activex {
namespace {

// A modal box is shown within this scope.
class Modality {
 public:
  explicit Modality(LinkEnvironment::Owner& owner) : owner_(owner) {
    owner_.enable_modeless(false);
  }
  ~Modality() { owner_.enable_modeless(true); }
  Modality(const Modality&) = delete;
  Modality& operator=(const Modality&) = delete;

 private:
  LinkEnvironment::Owner& owner_;
};

}  // namespace

void LinkEnvironment::wait_for_input(std::uint32_t milliseconds) {
  owner_.refresh_state_label();
  WindowsHostEnvironment::wait_for_input(milliseconds);
}

void LinkEnvironment::process_messages() {
  owner_.refresh_state_label();
  const FloatingPointBoundary::Host host(floating_point_);
  WindowsHostEnvironment::process_messages();
}

void LinkEnvironment::show_message_box(const std::string& text) {
  const FloatingPointBoundary::Host host(floating_point_);
  const Modality modality(owner_);
  WindowsHostEnvironment::show_message_box(text);
}

void LinkEnvironment::property_changed(const std::string& name) {
  const FloatingPointBoundary::Host host(floating_point_);
  owner_.notify_change(name);
}

}  // namespace plexum::activex
