#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

namespace plexum::posix {

// The message queue of a thread on POSIX systems: descriptors, timers and posted calls. One loop
// belongs to one thread; post() and stop() may be called from any, stop() from a signal handler
// too.
//
// A handler may watch, unwatch, add and cancel anything, also itself, and may run the loop again
// (a job of the control waits inside a handler of its host). What a handler throws passes through
// process() to its caller; the loop goes on with the rest in its next round.
class EventLoop {
 public:
  using Clock = std::chrono::steady_clock;
  using Callback = std::function<void()>;
  using ReadyCallback = std::function<void(short revents)>;
  using TimerId = std::uint64_t;

  EventLoop();
  ~EventLoop();
  EventLoop(const EventLoop&) = delete;
  EventLoop& operator=(const EventLoop&) = delete;

  // Calls `on_ready` with the ready events (poll's bits) whenever `descriptor` has one of `events`,
  // an error or a hang-up. Watching a descriptor again replaces events and handler. A descriptor
  // must be unwatched before it is closed.
  void watch(int descriptor, short events, ReadyCallback on_ready);
  void unwatch(int descriptor);

  // Calls `callback` once, after `delay`; timers that are due together run in the order of their
  // times, then of their adding.
  TimerId add_timer(std::chrono::microseconds delay, Callback callback);
  void cancel_timer(TimerId timer);

  // Calls `callback` on the loop's thread as soon as possible, and ends a wait.
  void post(Callback callback);

  // Posts to the loop from where its life isn't known, such as a thread that may outlast it.
  class Poster;
  [[nodiscard]] Poster poster() const;

  // Sleeps until a descriptor is ready, a timer is due or a call is posted, at most `timeout`;
  // runs no handler. What woke it is remembered for process(), and ends the next wait too until
  // it is processed. A signal doesn't shorten it.
  void wait(std::chrono::milliseconds timeout);

  // Runs the handlers of what is ready now, each at most once, and what they post or add only in
  // the next round; never sleeps. Asks the system only when no wait has remembered anything.
  void process();

  // Waits and processes until stop(); of nested runs, stop() ends the innermost.
  void run();
  void stop();

  // For an owner of a descriptor that must know its readiness between wait() and process(): the
  // events that a wait has remembered, which process() then no longer handles (0: none), and when
  // the descriptors were last asked.
  short take_ready(int descriptor);
  [[nodiscard]] Clock::time_point polled_at() const;

 private:
  class Mailbox;
  struct Implementation;
  std::unique_ptr<Implementation> implementation_;
};

class EventLoop::Poster {
 public:
  // As EventLoop::post, from any thread; nothing once the loop is gone.
  void post(Callback callback) const;

 private:
  friend class EventLoop;
  explicit Poster(std::shared_ptr<Mailbox> mailbox);
  std::shared_ptr<Mailbox> mailbox_;
};

}  // namespace plexum::posix
