#include "platform/windows/window_class.h"

#include <cstdint>
#include <system_error>

#include "platform/windows/lock.h"
#include "platform/windows/module.h"

namespace plexum::windows {

WindowClass::WindowClass(const wchar_t* label, UINT style, WNDPROC procedure)
    : name_(label + std::to_wstring(reinterpret_cast<std::uintptr_t>(this_module()))),
      style_(style),
      procedure_(procedure) {}

int WindowClass::users() {
  const Lock lock(lock_);
  return users_;
}

WindowClass::Use::Use(WindowClass& window_class) : class_(window_class) {
  const Lock lock(class_.lock_);
  if (class_.users_ == 0) {
    WNDCLASSEXW description{};
    description.cbSize = sizeof description;
    description.style = class_.style_;
    description.lpfnWndProc = class_.procedure_;
    description.hInstance = this_module();
    description.lpszClassName = class_.name();
    if (RegisterClassExW(&description) == 0) {
      throw std::system_error(static_cast<int>(GetLastError()), std::system_category(),
                              "RegisterClassEx");
    }
  }
  ++class_.users_;
}

WindowClass::Use::~Use() {
  const Lock lock(class_.lock_);
  if (--class_.users_ == 0) UnregisterClassW(class_.name(), this_module());
}

}  // namespace plexum::windows
