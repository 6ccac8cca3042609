#pragma once

#include <chrono>
#include <cstdint>
#include <functional>

namespace plexum::posix {

// The message queue of a thread on POSIX systems: descriptors, timers and posted calls. One loop
// belongs to one thread; post() and stop() may be called from any.
//
// A handler may watch, unwatch, add and cancel anything, also itself, and may run the loop again
// (a job of the control waits inside a handler of its host).
class EventLoop {
 public:
  using Callback = std::function<void()>;
  using ReadyCallback = std::function<void(short revents)>;
  using TimerId = std::uint64_t;

  EventLoop();
  ~EventLoop();
  EventLoop(const EventLoop&) = delete;
  EventLoop& operator=(const EventLoop&) = delete;

  // Calls `on_ready` with the ready events (poll's bits) whenever `descriptor` has one of `events`.
  // Watching a descriptor again replaces events and handler.
  void watch(int descriptor, short events, ReadyCallback on_ready);
  void unwatch(int descriptor);

  // Calls `callback` once, after `delay`.
  TimerId add_timer(std::chrono::milliseconds delay, Callback callback);
  void cancel_timer(TimerId timer);

  // Calls `callback` on the loop's thread as soon as possible, and ends a wait.
  void post(Callback callback);

  // Sleeps until a descriptor is ready, a timer is due or a call is posted, at most `timeout`;
  // runs no handler. What woke it is remembered for process().
  void wait(std::chrono::milliseconds timeout);

  // Runs the handlers of what is ready now, each at most once; never sleeps.
  void process();

  // Waits and processes until stop().
  void run();
  void stop();

 private:
  struct Implementation;
  Implementation* implementation_;
};

}  // namespace plexum::posix
