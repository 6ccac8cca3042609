#include "platform/windows/message_window.h"

#include <cstdint>
#include <string>
#include <system_error>
#include <utility>

#include "platform/windows/lock.h"
#include "platform/windows/module.h"

namespace plexum::windows {
namespace {

[[noreturn]] void throw_last_error(const char* what) {
  throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), what);
}

// Windows on several threads share the class.
SRWLOCK class_lock = SRWLOCK_INIT;
int windows_of_class = 0;

void release_class() {
  const Lock lock(class_lock);
  if (--windows_of_class == 0) UnregisterClassW(MessageWindow::class_name(), this_module());
}

}  // namespace

MessageWindow::MessageWindow(Handler handler) : handler_(std::move(handler)) {
  {
    const Lock lock(class_lock);
    if (windows_of_class == 0) {
      WNDCLASSEXW window_class{};
      window_class.cbSize = sizeof window_class;
      window_class.lpfnWndProc = window_procedure;
      window_class.hInstance = this_module();
      window_class.lpszClassName = class_name();
      if (RegisterClassExW(&window_class) == 0) throw_last_error("RegisterClassEx");
    }
    ++windows_of_class;
  }
  window_ = CreateWindowExW(0, class_name(), L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                            this_module(), this);
  if (window_ == nullptr) {
    const DWORD error = GetLastError();
    release_class();
    SetLastError(error);
    throw_last_error("CreateWindowEx");
  }
}

MessageWindow::~MessageWindow() {
  SetWindowLongPtrW(window_, GWLP_USERDATA, 0);
  DestroyWindow(window_);
  release_class();
}

int MessageWindow::count() {
  const Lock lock(class_lock);
  return windows_of_class;
}

const wchar_t* MessageWindow::class_name() {
  static const std::wstring name =
      L"Plexum.MessageWindow." + std::to_wstring(reinterpret_cast<std::uintptr_t>(this_module()));
  return name.c_str();
}

LRESULT CALLBACK MessageWindow::window_procedure(HWND window, UINT message, WPARAM wparam,
                                                 LPARAM lparam) {
  if (message == WM_NCCREATE) {
    const auto* create = reinterpret_cast<const CREATESTRUCTW*>(lparam);
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(create->lpCreateParams));
    return TRUE;
  }
  auto* self = reinterpret_cast<MessageWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  if (self == nullptr || (message < WM_USER && message != WM_TIMER)) {
    return DefWindowProcW(window, message, wparam, lparam);
  }
  try {
    const Handler handler = self->handler_;  // outlives a window that it destroys
    handler(message, wparam, lparam);
  } catch (...) {
    return 0;
  }
  return 0;
}

}  // namespace plexum::windows
