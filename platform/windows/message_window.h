#pragma once

#include <functional>

#include "platform/windows/window_class.h"
#include "platform/windows/windows_headers.h"

namespace plexum::windows {

// A hidden message-only window of the calling thread, through which sockets, timers and other
// threads reach it while its host's messages are processed. Create and destroy it on one thread.
//
// All such windows share one window class, which goes with the last of them, so that none is left
// behind when the module is unloaded.
class MessageWindow {
 public:
  // Called with every message above WM_USER and WM_TIMER. An exception ends here: no caller would
  // survive it. The handler may destroy the window.
  using Handler = std::function<void(UINT message, WPARAM wparam, LPARAM lparam)>;

  // std::system_error where the system has no window left.
  explicit MessageWindow(Handler handler);
  MessageWindow(const MessageWindow&) = delete;
  MessageWindow& operator=(const MessageWindow&) = delete;
  ~MessageWindow();

  [[nodiscard]] HWND handle() const noexcept { return window_; }

  // How many there are in this module, on all threads; the class exists while it isn't 0.
  static int count();
  // The name of the window class, unique to this module.
  static const wchar_t* class_name();

 private:
  static LRESULT CALLBACK window_procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam);

  static WindowClass& shared_class();

  const WindowClass::Use class_;
  Handler handler_;
  HWND window_ = nullptr;
};

}  // namespace plexum::windows
