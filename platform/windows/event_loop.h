#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

namespace plexum::windows {

// The event loop of a thread that only serves sockets, on Windows: sockets and timers, as in the
// event loop of POSIX systems, but no posted calls and no single rounds. One loop belongs to one
// thread; stop() may be called from any.
//
// A handler may watch, unwatch, add and cancel anything, also itself. It may be called once for
// nothing, when its socket has the number of one that was just closed; so it mustn't block.
class EventLoop {
 public:
  using Clock = std::chrono::steady_clock;
  using Callback = std::function<void()>;
  using ReadyCallback = std::function<void(short revents)>;
  using TimerId = std::uint64_t;
  using Descriptor = std::uintptr_t;  // a SOCKET

  // Throws std::system_error when the system has no socket left. Winsock is ready for use while the
  // loop lives.
  EventLoop();
  ~EventLoop();
  EventLoop(const EventLoop&) = delete;
  EventLoop& operator=(const EventLoop&) = delete;

  // Calls `on_ready` with the ready events (WSAPoll's bits) whenever `descriptor` has one of
  // `events`, an error or a hang-up. Watching a descriptor again replaces events and handler. A
  // descriptor must be unwatched before it is closed.
  void watch(Descriptor descriptor, short events, ReadyCallback on_ready);
  void unwatch(Descriptor descriptor);

  // Calls `callback` once, after `delay`; timers that are due together run in the order of their
  // times, then of their adding.
  TimerId add_timer(std::chrono::microseconds delay, Callback callback);
  void cancel_timer(TimerId timer);

  // Waits and handles until stop(), which may also come before.
  void run();
  void stop();

 private:
  struct Implementation;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace plexum::windows
