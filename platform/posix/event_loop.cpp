#include "platform/posix/event_loop.h"

#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <ctime>
#include <deque>
#include <map>
#include <mutex>
#include <system_error>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/portable/limits.h"
#include "platform/posix/descriptor.h"

namespace plexum::posix {
namespace {

using TimePoint = EventLoop::Clock::time_point;

using portable::kLongestTime;  // a wait so long has no end

std::chrono::microseconds bounded(std::chrono::microseconds time) {
  return std::clamp<std::chrono::microseconds>(time, time.zero(), kLongestTime);
}

timespec timespec_of(std::chrono::nanoseconds time) {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
  return {static_cast<time_t>(seconds.count()), static_cast<long>((time - seconds).count())};
}

// A time as epoll_wait takes it; -1 when it isn't a whole number of milliseconds, or too long.
int whole_milliseconds(std::chrono::nanoseconds time) {
  constexpr std::chrono::nanoseconds kMillisecond = std::chrono::milliseconds(1);
  const auto count = time / kMillisecond;
  return time % kMillisecond == kMillisecond.zero() && count <= INT_MAX ? static_cast<int>(count)
                                                                        : -1;
}

std::system_error last_error(const char* what) { return {errno, std::generic_category(), what}; }

// Callers use the events of poll; those of epoll have the same values.
static_assert(POLLIN == EPOLLIN && POLLOUT == EPOLLOUT && POLLERR == EPOLLERR &&
              POLLHUP == EPOLLHUP && POLLRDHUP == EPOLLRDHUP);

// A timer that ends short waits. Setting it costs a system call. So it stays set when a wait ends
// early, and the next waits use it, too: if it rings before the end of such a wait, the wait sets
// it again. Where answers come at once, as from a PLC on the same network, most waits set nothing.
class Alarm {
 public:
  Alarm() : timer_(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)) {
    if (!timer_) throw last_error("timerfd_create");
  }

  [[nodiscard]] int descriptor() const { return timer_.get(); }

  // Has it ring by `deadline`; it may ring before.
  void set(TimePoint now, TimePoint deadline) {
    if (due_ > now && due_ <= deadline) return;
    const itimerspec time{{}, timespec_of(deadline.time_since_epoch())};
    if (::timerfd_settime(timer_.get(), TFD_TIMER_ABSTIME, &time, nullptr) != 0) {
      throw last_error("timerfd_settime");
    }
    due_ = deadline;
  }
  [[nodiscard]] TimePoint due() const { return due_; }

 private:
  const Descriptor timer_;
  TimePoint due_{};
};

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

  // Slots 0 and 1 belong to the mailbox and the alarm. A watched descriptor keeps its slot, so a
  // handler may change others in the middle of a round. What a wait has found stays in `revents`
  // until it is handled.
  static constexpr std::size_t kMailboxSlot = 0;
  static constexpr std::size_t kAlarmSlot = 1;
  static constexpr std::size_t kFirstSlot = 2;
  std::vector<short> revents;
  std::vector<std::shared_ptr<ReadyCallback>> handlers;
  std::vector<std::size_t> free_slots;
  std::vector<std::size_t> slot_of;  // by descriptor; 0: not watched
  std::size_t ready = 0;             // slots with something to handle
  bool woken = false;                // by a call or a timer, and no process() came since
  bool signalled = false;            // by the mailbox, in the last poll
  bool rang = false;                 // the alarm, when the system was asked last
  bool ends_early = false;           // what the last wait with an end did
  TimePoint polled_at{};
  std::array<epoll_event, 64> found;

  Timers timers;
  std::unordered_map<TimerId, Timers::iterator> timer_of;
  TimerId next_timer = 1;

  std::shared_ptr<Mailbox> mailbox = std::make_shared<Mailbox>();
  std::atomic<bool> stopped = false;

  Alarm alarm;
  const Descriptor set{::epoll_create1(EPOLL_CLOEXEC)};

  Implementation() : revents(kFirstSlot), handlers(kFirstSlot) {
    if (!set) throw last_error("epoll_create1");
    control(EPOLL_CTL_ADD, mailbox->wake_descriptor(), EPOLLIN, kMailboxSlot);
    // Edge-triggered, it reports each ringing once, and nobody has to read it.
    control(EPOLL_CTL_ADD, alarm.descriptor(), EPOLLIN | EPOLLET, kAlarmSlot);
  }

  void control(int operation, int descriptor, std::uint32_t events, std::size_t slot) const {
    epoll_event event{};
    event.events = events;
    event.data.u64 = slot;
    if (::epoll_ctl(set.get(), operation, descriptor, &event) != 0) throw last_error("epoll_ctl");
  }

  std::size_t find(int descriptor) const {
    const auto index = static_cast<std::size_t>(descriptor);
    return descriptor >= 0 && index < slot_of.size() ? slot_of[index] : 0;
  }

  std::size_t add_slot(int descriptor) {
    const auto index = static_cast<std::size_t>(descriptor);
    if (slot_of.size() <= index) slot_of.resize(index + 1, 0);
    if (free_slots.empty()) {
      free_slots.push_back(revents.size());
      revents.push_back(0);
      handlers.emplace_back();
    }
    slot_of[index] = free_slots.back();
    free_slots.pop_back();
    return slot_of[index];
  }

  void remove_slot(int descriptor, std::size_t slot) {
    slot_of[static_cast<std::size_t>(descriptor)] = 0;
    free_slots.push_back(slot);
  }

  short take(std::size_t slot) {
    const short events = std::exchange(revents[slot], short{0});
    if (events != 0) --ready;
    return events;
  }

  // Asks the system once; if nothing is ready it waits for `timeout` milliseconds (-1: without
  // end). Returns whether nothing came.
  bool ask(int timeout) {
    const int count =
        ::epoll_wait(set.get(), found.data(), static_cast<int>(found.size()), timeout);
    if (count < 0 && errno != EINTR) throw last_error("epoll_wait");
    for (int i = 0; i < count; ++i) {
      const epoll_event& event = found[static_cast<std::size_t>(i)];
      const std::size_t slot = event.data.u64;
      if (slot == kMailboxSlot) {
        signalled = true;
      } else if (slot == kAlarmSlot) {
        rang = true;
      } else {
        revents[slot] = static_cast<short>(event.events);
        ++ready;
      }
    }
    return count == 0;
  }

  // Asks again and again until there is something or the time is over.
  void sleep(TimePoint now, TimePoint deadline) {
    const bool has_end = deadline != TimePoint::max();
    polled_at = now;  // or later: that spares a look at the clock where something comes
    bool any = false;
    for (bool over = false; !any && !over;) {
      // Two timers can end a wait: a time-out of epoll_wait, or the alarm. The alarm is cheaper for
      // waits that end early, because it mostly is set already; the time-out is cheaper for waits
      // that last their whole time. This wait is taken to be like the last one.
      int timeout = -1;
      if (has_end && !ends_early) timeout = whole_milliseconds(deadline - polled_at);
      if (has_end && timeout < 0) alarm.set(polled_at, deadline);
      rang = false;
      over = ask(timeout);
      any = signalled || ready > 0;
      if (!any) polled_at = Clock::now();
      if (rang && alarm.due() == deadline) over = true;
    }
    if (has_end) ends_early = any;
  }

  // Learns what is ready, sleeping until `deadline` if nothing is.
  void poll(TimePoint now, TimePoint deadline) {
    signalled = false;
    const bool sleeps = deadline > now && mailbox->begin_sleep();
    if (sleeps) {
      sleep(now, deadline);
    } else {
      ask(0);
      polled_at = Clock::now();
    }
    if (sleeps || signalled) mailbox->end_sleep(signalled);
  }

  [[nodiscard]] bool has_due_timer(TimePoint now) const {
    return !timers.empty() && timers.begin()->first <= now;
  }

  // A timer that a callback adds is due after `now`, so it is left for the next round.
  void run_timers() {
    if (timers.empty()) return;
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
    for (std::size_t slot = kFirstSlot; slot < revents.size() && ready > 0; ++slot) {
      const short events = take(slot);
      if (events == 0) continue;
      const std::shared_ptr<ReadyCallback> handler = handlers[slot];  // outlives its unwatching
      (*handler)(events);
    }
  }
};

EventLoop::EventLoop() : implementation_(std::make_unique<Implementation>()) {}

EventLoop::~EventLoop() { implementation_->mailbox->close(); }

void EventLoop::watch(int descriptor, short events, ReadyCallback on_ready) {
  Implementation& loop = *implementation_;
  auto handler = std::make_shared<ReadyCallback>(std::move(on_ready));
  const auto wanted = static_cast<std::uint32_t>(events);
  std::size_t slot = loop.find(descriptor);
  if (slot != 0) {
    loop.control(EPOLL_CTL_MOD, descriptor, wanted, slot);
  } else {
    slot = loop.add_slot(descriptor);
    try {
      loop.control(EPOLL_CTL_ADD, descriptor, wanted, slot);
    } catch (...) {
      loop.remove_slot(descriptor, slot);
      throw;
    }
  }
  loop.take(slot);
  loop.handlers[slot].swap(handler);  // what the old one holds may use the loop when it goes
}

void EventLoop::unwatch(int descriptor) {
  Implementation& loop = *implementation_;
  const std::size_t slot = loop.find(descriptor);
  if (slot == 0) return;
  ::epoll_ctl(loop.set.get(), EPOLL_CTL_DEL, descriptor, nullptr);
  loop.take(slot);
  loop.remove_slot(descriptor, slot);
  // Last, because what the handler holds may use the loop when it goes.
  const std::shared_ptr<ReadyCallback> handler = std::move(loop.handlers[slot]);
}

EventLoop::TimerId EventLoop::add_timer(std::chrono::microseconds delay, Callback callback) {
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
  TimePoint deadline = timeout < kLongestTime ? now + bounded(timeout) : TimePoint::max();
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
