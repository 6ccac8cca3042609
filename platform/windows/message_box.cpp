#include "platform/windows/message_box.h"

#include <array>
#include <string_view>
#include <utility>

#include "platform/windows/code_page.h"

namespace plexum::windows {
namespace {

// Where to note the window of the message box that this thread is about to open. Windows doesn't
// tell it, so a hook watches which windows the thread creates.
thread_local HWND* awaited_window = nullptr;

// A thread-local hook for the lifetime of a block.
class CreationHook {
 public:
  explicit CreationHook(HOOKPROC procedure)
      : hook_(SetWindowsHookExW(WH_CBT, procedure, nullptr, GetCurrentThreadId())) {}
  CreationHook(const CreationHook&) = delete;
  CreationHook& operator=(const CreationHook&) = delete;
  ~CreationHook() {
    if (hook_ != nullptr) UnhookWindowsHookEx(hook_);
  }

 private:
  HHOOK hook_;
};

bool is_dialog(HWND window) {
  std::array<wchar_t, 8> name{};
  GetClassNameW(window, name.data(), static_cast<int>(name.size()));
  return std::wstring_view(name.data()) == L"#32770";
}

}  // namespace

ModalMessageBox::ModalMessageBox(const std::string& text, HWND owner)
    : text_(utf16_from_utf8(text)),
      owner_(owner == nullptr ? nullptr : GetAncestor(owner, GA_ROOT)) {}

void ModalMessageBox::show() {
  if (!has_visible_desktop()) return;
  const std::wstring title = application_name();
  const CreationHook hook(watch_creation);
  HWND* const outer = std::exchange(awaited_window, &window_);
  MessageBoxW(owner_, text_.c_str(), title.c_str(), MB_OK | (owner_ ? 0u : MB_TASKMODAL));
  awaited_window = outer;
  window_ = nullptr;
}

void ModalMessageBox::close() noexcept {
  if (window_ != nullptr) EndDialog(window_, IDOK);
}

LRESULT CALLBACK ModalMessageBox::watch_creation(int code, WPARAM wparam, LPARAM lparam) {
  if (code == HCBT_CREATEWND && awaited_window != nullptr) {
    const auto window = reinterpret_cast<HWND>(wparam);
    if (is_dialog(window)) *std::exchange(awaited_window, nullptr) = window;
  }
  return CallNextHookEx(nullptr, code, wparam, lparam);
}

bool has_visible_desktop() {
  USEROBJECTFLAGS flags{};
  const HWINSTA station = GetProcessWindowStation();
  return station != nullptr &&
         GetUserObjectInformationW(station, UOI_FLAGS, &flags, sizeof flags, nullptr) &&
         (flags.dwFlags & WSF_VISIBLE) != 0;
}

std::wstring application_name() {
  std::wstring path(MAX_PATH, L'\0');
  DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
  while (length == path.size()) {
    path.resize(path.size() * 2);
    length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
  }
  path.resize(length);
  path.erase(0, path.find_last_of(L"\\/") + 1);
  return path.substr(0, path.rfind(L'.'));
}

}  // namespace plexum::windows
