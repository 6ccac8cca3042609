#pragma once

#include <string>

#include "activex/com_headers.h"
#include "activex/floating_point.h"
#include "platform/windows/host_environment.h"

namespace plexum::activex {

// What a control knows of its container.
class Container {
 public:
  // Tells the container that the property of that name has a new value.
  virtual void notify_change(const std::string& property) = 0;
  // The window that message boxes belong to; null where there is none.
  virtual HWND window() = 0;

 protected:
  ~Container() = default;
};

// A Windows host as the control sees it. Whatever runs on the host's side, its messages first of
// all, finds the host's own floating-point state.
class LinkEnvironment final : public windows::WindowsHostEnvironment {
 public:
  // The container must outlive the environment.
  explicit LinkEnvironment(Container& container) : container_(container) {}

  [[nodiscard]] FloatingPointBoundary& floating_point() noexcept { return floating_point_; }

  void process_messages() override;
  void show_message_box(const std::string& text) override;
  void property_changed(const std::string& name) override;

 protected:
  HWND owner_window() override { return container_.window(); }

 private:
  Container& container_;
  FloatingPointBoundary floating_point_;
};

}  // namespace plexum::activex
