#pragma once

#include <string>
#include <vector>

#include "activex/com_headers.h"

namespace plexum::test {

// Puts the calling thread, which has no window yet, on a desktop of its own: Wine's first one may
// have been made by a program without a display. False where there is no display.
inline bool take_own_desktop() {
  HDESK desktop = CreateDesktopW(L"PlexumTest", nullptr, nullptr, 0, GENERIC_ALL, nullptr);
  if (desktop == nullptr || !SetThreadDesktop(desktop)) return false;
  HWND probe =
      CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr);
  if (probe == nullptr) return false;
  DestroyWindow(probe);
  return true;
}

inline BOOL CALLBACK add_text(HWND window, LPARAM list) {
  wchar_t text[128] = L"";
  SendMessageW(window, WM_GETTEXT, 128, reinterpret_cast<LPARAM>(text));
  reinterpret_cast<std::vector<std::wstring>*>(list)->emplace_back(text);
  return TRUE;
}

// The texts of a window's descendants, in their order.
inline std::vector<std::wstring> texts_below(HWND window) {
  std::vector<std::wstring> texts;
  EnumChildWindows(window, add_text, reinterpret_cast<LPARAM>(&texts));
  return texts;
}

}  // namespace plexum::test
