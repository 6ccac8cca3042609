#include "platform/windows/messages.h"

#include <system_error>

#include "platform/windows/module.h"

namespace plexum::windows {
namespace {

// Key, mouse move and button, posted message, timer, paint, sent message and hot key. This is less
// than today's QS_ALLINPUT on purpose: raw input and touch are no reason to end a wait.
constexpr DWORD kWakeMask = 0xFF;

// More than a form's painting and timers ever queue up between two waits.
constexpr int kMostMessages = 256;

// Of this thread. Plain values: a destructor would run after the module may have been unloaded.
thread_local HANDLE wake_event = nullptr;
thread_local int wake_event_users = 0;

// Takes the next message in the form, ANSI or Unicode, of the window that it is for, so that the
// window gets its characters as if its own program had fetched them.
bool take_message(MSG& message, bool& unicode) {
  if (!PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE)) return false;
  unicode = message.hwnd == nullptr || IsWindowUnicode(message.hwnd);
  return unicode ? PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)
                 : PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE);
}

}  // namespace

WakeEvent::WakeEvent() {
  if (wake_event == nullptr) wake_event = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  if (wake_event == nullptr) {
    throw std::system_error(static_cast<int>(GetLastError()), std::system_category(),
                            "CreateEvent");
  }
  ++wake_event_users;
}

WakeEvent::~WakeEvent() {
  if (--wake_event_users > 0) return;
  CloseHandle(wake_event);
  wake_event = nullptr;
}

HANDLE WakeEvent::get() const noexcept { return wake_event; }

std::uint32_t tick_count() { return GetTickCount(); }

void wait_for_input(std::uint32_t milliseconds) {
  const DWORD events = wake_event == nullptr ? 0 : 1;
  MsgWaitForMultipleObjects(events, &wake_event, FALSE, milliseconds, kWakeMask);
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
