#pragma once

#include <cstdint>

#include "platform/windows/windows_headers.h"

namespace plexum::windows {

// An event that ends the waits of the thread that made this, besides its messages: for input and
// output that completes. All WakeEvents of a thread share it. Each signal ends one wait.
//
// Whoever uses it must look at what may have completed before each wait: another user of the thread
// may have waited, or started something by which the system takes the signal back.
class WakeEvent {
 public:
  // std::system_error where the system has no event left.
  WakeEvent();
  WakeEvent(const WakeEvent&) = delete;
  WakeEvent& operator=(const WakeEvent&) = delete;
  ~WakeEvent();  // on the same thread

  [[nodiscard]] HANDLE get() const noexcept;
};

// Milliseconds since Windows started; wraps after 2^32, advances in steps of 10 to 16.
std::uint32_t tick_count();

// Waits until input or a message that nobody has seen yet arrives for this thread, or its WakeEvent
// is signalled, at most `milliseconds`. Dispatches nothing.
void wait_for_input(std::uint32_t milliseconds);

// Dispatches the messages that are waiting for this thread, as a host's own message loop would.
// Bounded, so that a host whose messages beget messages can't hold a job for ever: what is left
// wakes the next wait at once. WM_QUIT ends it and stays for the host's own loop.
//
// A handler may end COM on this thread, which unloads in-process servers whose code still runs;
// the module that holds this function is therefore pinned from the first call on.
void process_messages();

}  // namespace plexum::windows
