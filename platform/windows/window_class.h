#pragma once

#include <string>

#include "platform/windows/windows_headers.h"

namespace plexum::windows {

// A window class that is registered while it has users, on whatever threads, so that none is left
// behind when the module is unloaded. One object of static life a class.
class WindowClass {
 public:
  // `label` begins the class's name; what follows makes it unique to this module.
  WindowClass(const wchar_t* label, UINT style, WNDPROC procedure);
  WindowClass(const WindowClass&) = delete;
  WindowClass& operator=(const WindowClass&) = delete;

  [[nodiscard]] const wchar_t* name() const noexcept { return name_.c_str(); }
  [[nodiscard]] int users();

  // One user: a member of what owns a window, declared before it.
  class Use {
   public:
    // std::system_error where the system refuses the class.
    explicit Use(WindowClass& window_class);
    ~Use();
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;

   private:
    WindowClass& class_;
  };

 private:
  SRWLOCK lock_ = SRWLOCK_INIT;
  int users_ = 0;
  const std::wstring name_;
  const UINT style_;
  const WNDPROC procedure_;
};

}  // namespace plexum::windows
