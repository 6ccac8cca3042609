#pragma once

#include <cstdint>
#include <exception>
#include <string>
#include <vector>

#include "base/host_environment.h"
#include "platform/windows/windows_headers.h"

namespace plexum::windows {

class ModalMessageBox;

// Leaves a job whose control nobody holds any longer; there is no one left to tell.
class Abandoned : public std::exception {
 public:
  [[nodiscard]] const char* what() const noexcept override {
    return "The control was released during a job";
  }
};

// The host environment of a Windows program: messages, ticks, boxes, and numbers by the user's
// locale. What only a container knows is left to the class that derives from it.
class WindowsHostEnvironment : public HostEnvironment {
 public:
  std::uint32_t tick_count() override;
  // Throws Abandoned once the control is abandoned.
  void wait_for_input(std::uint32_t milliseconds) override;
  void process_messages() override;
  void show_message_box(const std::string& text) override;
  void property_changed(const std::string&) override {}
  double number_from_text(const std::string& text) override;
  std::string text_from_number(double number) override;

  // The last reference from outside is gone, which can only happen while messages are processed:
  // closes the boxes that are open, shows no more, and ends the running job at its next wait.
  void abandon() noexcept;
  [[nodiscard]] bool abandoned() const noexcept { return abandoned_; }

 protected:
  // The container's window, which boxes belong to; null where there is none.
  virtual HWND owner_window() { return nullptr; }

 private:
  bool abandoned_ = false;
  std::vector<ModalMessageBox*> boxes_;  // open ones, innermost last
};

}  // namespace plexum::windows
