#pragma once

#include <string>

#include "platform/windows/windows_headers.h"

namespace plexum::windows {

// A modal message box with an OK button, named after the application.
class ModalMessageBox {
 public:
  // `text` is UTF-8. The box belongs to the top window above `owner`; without one it is modal to
  // all windows of its thread.
  ModalMessageBox(const std::string& text, HWND owner);
  ModalMessageBox(const ModalMessageBox&) = delete;
  ModalMessageBox& operator=(const ModalMessageBox&) = delete;

  // Returns when the user or close() has closed the box; the thread's messages are processed while
  // it is open. Returns at once where nobody could see and close it (a service).
  void show();

  // Closes the box from inside a message that is processed while it is open.
  void close() noexcept;

 private:
  static LRESULT CALLBACK watch_creation(int code, WPARAM wparam, LPARAM lparam);

  std::wstring text_;
  HWND owner_;
  HWND window_ = nullptr;  // while it is open
};

// Whether this process has a screen that a user could look at.
bool has_visible_desktop();

// The name of the host's program file, without folder and extension.
std::wstring application_name();

}  // namespace plexum::windows
