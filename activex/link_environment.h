#pragma once

#include <cstdint>
#include <string>

#include "activex/com_headers.h"
#include "activex/floating_point.h"
#include "platform/windows/host_environment.h"

namespace plexum::activex {

// A Windows host as the core sees it. The host's code that runs meanwhile (its message handlers,
// a message box, a notified container) finds the host's own floating-point state.
class LinkEnvironment final : public windows::WindowsHostEnvironment {
 public:
  // The control that the environment belongs to.
  class Owner {
   public:
    // The property of that name has a new value, which the container is to be told.
    virtual void notify_change(const std::string& property) = 0;
    // The window that message boxes belong to; null where there is none.
    virtual HWND window() = 0;
    // A modal box is about to be shown (false), or was closed (true): the container disables and
    // enables its modeless windows.
    virtual void enable_modeless(bool enabled) noexcept = 0;
    // A wait begins: the state label may have a new caption.
    virtual void refresh_state_label() = 0;

   protected:
    ~Owner() = default;
  };

  // The owner must outlive the environment.
  explicit LinkEnvironment(Owner& owner) : owner_(owner) {}

  [[nodiscard]] FloatingPointBoundary& floating_point() noexcept { return floating_point_; }

  void wait_for_input(std::uint32_t milliseconds) override;
  void process_messages() override;
  void show_message_box(const std::string& text) override;
  void property_changed(const std::string& name) override;

 protected:
  HWND owner_window() override { return owner_.window(); }

 private:
  Owner& owner_;
  FloatingPointBoundary floating_point_;
};

}  // namespace plexum::activex
