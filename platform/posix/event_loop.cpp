#include "platform/posix/event_loop.h"

#include <poll.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <ctime>
#include <deque>
#include <map>
#include <mutex>
#include <system_error>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/posix/descriptor.h"

namespace plexum::posix {
namespace {

using TimePoint = EventLoop::Clock::time_point;

// Longer times are cut to this, so that no sum overflows.
constexpr std::chrono::milliseconds kLongestTime = std::chrono::hours(24 * 365);

std::chrono::milliseconds bounded(std::chrono::milliseconds time) {
  return std::clamp(time, std::chrono::milliseconds::zero(), kLongestTime);
}

timespec timespec_of(std::chrono::nanoseconds time) {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
  return {static_cast<time_t>(seconds.count()), static_cast<long>((time - seconds).count())};
}

std::system_error last_error(const char* what) { return {errno, std::generic_category(), what}; }

}  // namespace

// The calls posted to a loop, and the descriptor that wakes it. Outlives the loop while a Poster
// does. A post costs no system call unless the loop sleeps.
class EventLoop::Mailbox {
 public:
  Mailbox() : wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!wake_) throw last_error("eventfd");
  }

  void post(Callback callback) {
    const std::scoped_lock lock(mutex_);
    if (closed_) return;
    calls_.push_back(std::move(callback));
    if (std::exchange(asleep_, false)) wake();
  }

  // From now on the loop hears nothing more; what was posted is dropped.
  void close() {
    std::deque<Callback> dropped;  // destroyed outside the lock: what they hold may post
    const std::scoped_lock lock(mutex_);
    closed_ = true;
    calls_.swap(dropped);
  }

  [[nodiscard]] std::size_t size() {
    const std::scoped_lock lock(mutex_);
    return calls_.size();
  }

  // The oldest call, or none.
  Callback take() {
    const std::scoped_lock lock(mutex_);
    if (calls_.empty()) return nullptr;
    Callback call = std::move(calls_.front());
    calls_.pop_front();
    return call;
  }

  // Whether the loop may sleep; then a post wakes it until end_sleep().
  bool begin_sleep() {
    const std::scoped_lock lock(mutex_);
    asleep_ = calls_.empty();
    return asleep_;
  }

  void end_sleep(bool woken) {
    const std::scoped_lock lock(mutex_);
    // A post may have woken the loop just after something else did.
    if (!std::exchange(asleep_, false) || woken) {
      eventfd_t count = 0;
      ::eventfd_read(wake_.get(), &count);
    }
  }

  // Async-signal-safe.
  void wake() const { ::eventfd_write(wake_.get(), 1); }
  [[nodiscard]] int wake_descriptor() const { return wake_.get(); }

 private:
  const Descriptor wake_;
  std::mutex mutex_;
  std::deque<Callback> calls_;
  bool asleep_ = false;
  bool closed_ = false;
};

struct EventLoop::Implementation {
  struct Timer {
    TimerId id;
    Callback callback;
  };
  using Timers = std::multimap<TimePoint, Timer>;

  // Slot 0 belongs to the mailbox. A slot that isn't in use has descriptor -1, which poll() passes
  // over; slots never move, so a handler may change them in the middle of a round. What a poll
  // reported stays in `revents` until it is handled.
  std::vector<pollfd> slots;
  std::vector<std::shared_ptr<ReadyCallback>> handlers;
  std::vector<std::size_t> free_slots;
  std::vector<std::size_t> slot_of;  // by descriptor; 0: not watched
  std::size_t ready = 0;             // slots with something to handle
  bool woken = false;                // by a call or a timer, and no process() came since
  TimePoint polled_at{};

  Timers timers;
  std::unordered_map<TimerId, Timers::iterator> timer_of;
  TimerId next_timer = 1;

  std::shared_ptr<Mailbox> mailbox = std::make_shared<Mailbox>();
  std::atomic<bool> stopped = false;

  Implementation() {
    slots.push_back({mailbox->wake_descriptor(), POLLIN, 0});
    handlers.emplace_back();
  }

  std::size_t find(int descriptor) const {
    const auto index = static_cast<std::size_t>(descriptor);
    return descriptor >= 0 && index < slot_of.size() ? slot_of[index] : 0;
  }

  std::size_t add_slot(int descriptor) {
    const auto index = static_cast<std::size_t>(descriptor);
    if (slot_of.size() <= index) slot_of.resize(index + 1, 0);
    if (free_slots.empty()) {
      free_slots.push_back(slots.size());
      slots.push_back({-1, 0, 0});
      handlers.emplace_back();
    }
    slot_of[index] = free_slots.back();
    free_slots.pop_back();
    return slot_of[index];
  }

  short take(std::size_t slot) {
    const short revents = std::exchange(slots[slot].revents, short{0});
    if (revents != 0) --ready;
    return revents;
  }

  // Asks the system what is ready, sleeping until `deadline` if nothing is.
  void poll(TimePoint now, TimePoint deadline) {
    const bool sleeps = deadline > now && mailbox->begin_sleep();
    if (!sleeps) deadline = now;
    int count = 0;
    do {
      const timespec timeout = timespec_of(std::max(deadline - now, Clock::duration::zero()));
      count = ::ppoll(slots.data(), slots.size(), &timeout, nullptr);
      now = Clock::now();
    } while (count < 0 && errno == EINTR);
    const int error = errno;
    const bool signalled = count > 0 && std::exchange(slots[0].revents, short{0}) != 0;
    if (sleeps || signalled) mailbox->end_sleep(signalled);
    if (count < 0) throw std::system_error(error, std::generic_category(), "ppoll");
    ready = static_cast<std::size_t>(count) - (signalled ? 1 : 0);
    polled_at = now;
  }

  [[nodiscard]] bool has_due_timer(TimePoint now) const {
    return !timers.empty() && timers.begin()->first <= now;
  }

  // What these add is due later than `now`, and so left for the next round.
  void run_timers() {
    const TimePoint now = Clock::now();
    while (has_due_timer(now)) {
      const Timer timer = std::move(timers.begin()->second);
      timer_of.erase(timer.id);
      timers.erase(timers.begin());
      timer.callback();
    }
  }

  void run_posted() {
    for (std::size_t left = mailbox->size(); left > 0; --left) {
      const Callback call = mailbox->take();
      if (!call) return;  // a nested round has run the rest
      call();
    }
  }

  void run_ready() {
    for (std::size_t slot = 1; slot < slots.size() && ready > 0; ++slot) {
      const short revents = take(slot);
      if (revents == 0) continue;
      const std::shared_ptr<ReadyCallback> handler = handlers[slot];  // outlives its unwatching
      (*handler)(revents);
    }
  }
};

EventLoop::EventLoop() : implementation_(std::make_unique<Implementation>()) {}

EventLoop::~EventLoop() { implementation_->mailbox->close(); }

void EventLoop::watch(int descriptor, short events, ReadyCallback on_ready) {
  Implementation& loop = *implementation_;
  std::size_t slot = loop.find(descriptor);
  if (slot == 0) slot = loop.add_slot(descriptor);
  loop.take(slot);
  loop.slots[slot] = {descriptor, events, 0};
  loop.handlers[slot] = std::make_shared<ReadyCallback>(std::move(on_ready));
}

void EventLoop::unwatch(int descriptor) {
  Implementation& loop = *implementation_;
  const std::size_t slot = loop.find(descriptor);
  if (slot == 0) return;
  loop.take(slot);
  loop.slots[slot] = {-1, 0, 0};
  loop.slot_of[static_cast<std::size_t>(descriptor)] = 0;
  loop.free_slots.push_back(slot);
  // Last, because what the handler holds may use the loop when it goes.
  const std::shared_ptr<ReadyCallback> handler = std::move(loop.handlers[slot]);
}

EventLoop::TimerId EventLoop::add_timer(std::chrono::milliseconds delay, Callback callback) {
  Implementation& loop = *implementation_;
  const TimerId id = loop.next_timer++;
  loop.timer_of[id] = loop.timers.emplace(Clock::now() + bounded(delay),
                                          Implementation::Timer{id, std::move(callback)});
  return id;
}

void EventLoop::cancel_timer(TimerId timer) {
  Implementation& loop = *implementation_;
  const auto found = loop.timer_of.find(timer);
  if (found == loop.timer_of.end()) return;
  const auto node = loop.timers.extract(found->second);  // its callback goes last
  loop.timer_of.erase(found);
}

void EventLoop::post(Callback callback) { implementation_->mailbox->post(std::move(callback)); }

EventLoop::Poster EventLoop::poster() const { return Poster(implementation_->mailbox); }

void EventLoop::wait(std::chrono::milliseconds timeout) {
  Implementation& loop = *implementation_;
  if (loop.ready > 0) return;
  const TimePoint now = Clock::now();
  TimePoint deadline = now + bounded(timeout);
  if (!loop.timers.empty()) deadline = std::min(deadline, loop.timers.begin()->first);
  loop.poll(now, deadline);
  loop.woken = loop.mailbox->size() > 0 || loop.has_due_timer(loop.polled_at);
}

void EventLoop::process() {
  Implementation& loop = *implementation_;
  const bool remembered = std::exchange(loop.woken, false) || loop.ready > 0;
  if (!remembered) loop.poll(TimePoint{}, TimePoint{});
  loop.run_timers();
  loop.run_posted();
  loop.run_ready();
}

void EventLoop::run() {
  while (!implementation_->stopped.load()) {
    wait(kLongestTime);
    process();
  }
  implementation_->stopped = false;
}

void EventLoop::stop() {
  implementation_->stopped = true;
  implementation_->mailbox->wake();
}

short EventLoop::take_ready(int descriptor) {
  const std::size_t slot = implementation_->find(descriptor);
  return slot == 0 ? short{0} : implementation_->take(slot);
}

EventLoop::Clock::time_point EventLoop::polled_at() const { return implementation_->polled_at; }

EventLoop::Poster::Poster(std::shared_ptr<Mailbox> mailbox) : mailbox_(std::move(mailbox)) {}

void EventLoop::Poster::post(Callback callback) const { mailbox_->post(std::move(callback)); }

}  // namespace plexum::posix
