#include "platform/windows/message_window.h"

#include <system_error>
#include <utility>

#include "platform/windows/module.h"

namespace plexum::windows {

WindowClass& MessageWindow::shared_class() {
  static WindowClass shared(L"Plexum.MessageWindow.", 0, window_procedure);
  return shared;
}

MessageWindow::MessageWindow(Handler handler)
    : class_(shared_class()),
      handler_(std::move(handler)),
      window_(CreateWindowExW(0, class_name(), L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                              this_module(), this)) {
  if (window_ == nullptr) {
    throw std::system_error(static_cast<int>(GetLastError()), std::system_category(),
                            "CreateWindowEx");
  }
}

MessageWindow::~MessageWindow() {
  SetWindowLongPtrW(window_, GWLP_USERDATA, 0);
  DestroyWindow(window_);
}

int MessageWindow::count() { return shared_class().users(); }

const wchar_t* MessageWindow::class_name() { return shared_class().name(); }

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
