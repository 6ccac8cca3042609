#pragma once

#include <functional>
#include <utility>

#include "activex/com_headers.h"

namespace plexum::test {

// Does something once, a while later, while this thread's messages are processed. One at a time.
class ThreadTimer {
 public:
  ThreadTimer(UINT milliseconds, std::function<void()> action)
      : id_(SetTimer(nullptr, 0, milliseconds, &ThreadTimer::fire)) {
    action_ = std::move(action);
  }
  ~ThreadTimer() {
    KillTimer(nullptr, id_);
    action_ = nullptr;
  }
  ThreadTimer(const ThreadTimer&) = delete;
  ThreadTimer& operator=(const ThreadTimer&) = delete;

 private:
  static void CALLBACK fire(HWND, UINT, UINT_PTR id, DWORD) {
    KillTimer(nullptr, id);
    // The action may make the next one.
    if (const auto action = std::exchange(action_, nullptr)) action();
  }

  static inline std::function<void()> action_;
  UINT_PTR id_;
};

}  // namespace plexum::test
