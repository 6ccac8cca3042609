#pragma once

#include <chrono>
#include <functional>

#include "platform/posix/event_loop.h"

namespace plexum::posix::test {

// Runs the loop until `done`, at most 10 seconds; whether it came to be.
inline bool run_until(EventLoop& loop, const std::function<bool()>& done) {
  const auto limit = EventLoop::Clock::now() + std::chrono::seconds(10);
  while (!done()) {
    if (EventLoop::Clock::now() > limit) return false;
    loop.wait(std::chrono::milliseconds(20));
    loop.process();
  }
  return true;
}

}  // namespace plexum::posix::test
