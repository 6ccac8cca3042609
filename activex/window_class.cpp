#include "activex/window_class.h"

#include <cstdint>

#include "activex/com_error.h"
#include "platform/windows/lock.h"
#include "platform/windows/module.h"

namespace plexum::activex {
namespace {

// Controls on several threads share the class.
SRWLOCK class_lock = SRWLOCK_INIT;
int owners = 0;

}  // namespace

FaceWindowClass::FaceWindowClass(WNDPROC procedure) {
  const windows::Lock lock(class_lock);
  if (owners == 0) {
    WNDCLASSEXW description{};
    description.cbSize = sizeof description;
    description.style = CS_HREDRAW | CS_VREDRAW;
    description.lpfnWndProc = procedure;
    description.hInstance = windows::this_module();
    description.lpszClassName = name();
    if (RegisterClassExW(&description) == 0) throw ComError(HRESULT_FROM_WIN32(GetLastError()));
  }
  ++owners;
}

FaceWindowClass::~FaceWindowClass() {
  const windows::Lock lock(class_lock);
  if (--owners == 0) UnregisterClassW(name(), windows::this_module());
}

const wchar_t* FaceWindowClass::name() {
  static const std::wstring name =
      L"Plexum.Face." + std::to_wstring(reinterpret_cast<std::uintptr_t>(windows::this_module()));
  return name.c_str();
}

}  // namespace plexum::activex
