#include "platform/windows/messages.h"

#include "platform/windows/module.h"
#include "platform/windows/windows_headers.h"

namespace plexum::windows {
namespace {

// Key, mouse move and button, posted message, timer, paint, sent message and hot key. This is less
// than today's QS_ALLINPUT on purpose: raw input and touch are no reason to end a wait.
constexpr DWORD kWakeMask = 0xFF;

// More than a form's painting and timers ever queue up between two waits.
constexpr int kMostMessages = 256;

// Takes the next message in the form, ANSI or Unicode, of the window that it is for, so that the
// window gets its characters as if its own program had fetched them.
bool take_message(MSG& message, bool& unicode) {
  if (!PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE)) return false;
  unicode = message.hwnd == nullptr || IsWindowUnicode(message.hwnd);
  return unicode ? PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)
                 : PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE);
}

}  // namespace

std::uint32_t tick_count() { return GetTickCount(); }

void wait_for_input(std::uint32_t milliseconds) {
  const HANDLE none = nullptr;
  MsgWaitForMultipleObjects(0, &none, FALSE, milliseconds, kWakeMask);
}

void process_messages() {
  pin_module();
  for (int count = 0; count < kMostMessages; ++count) {
    MSG message{};
    bool unicode = true;
    if (!take_message(message, unicode)) return;
    if (message.message == WM_QUIT) {
      PostQuitMessage(static_cast<int>(message.wParam));
      return;
    }
    TranslateMessage(&message);
    if (unicode) {
      DispatchMessageW(&message);
    } else {
      DispatchMessageA(&message);
    }
  }
  // Messages that a peek has seen don't end a wait; a new one does.
  PostThreadMessageW(GetCurrentThreadId(), WM_NULL, 0, 0);
}

}  // namespace plexum::windows
