#include "platform/windows/event_loop.h"

#include <algorithm>
#include <atomic>
#include <map>
#include <system_error>
#include <utility>
#include <vector>

#include "platform/portable/limits.h"
#include "platform/windows/winsock.h"

namespace plexum::windows {
namespace {

using TimePoint = EventLoop::Clock::time_point;
using std::chrono::milliseconds;

using portable::kLongestTime;

constexpr milliseconds kLongestSleep = std::chrono::hours(1);

[[noreturn]] void fail(const char* what) {
  throw std::system_error(WSAGetLastError(), std::system_category(), what);
}

// A datagram socket that is connected to itself. WSAPoll waits for sockets only, so another thread
// ends its wait by sending here.
SOCKET open_bell() {
  Socket bell(WSASocketW(AF_INET, SOCK_DGRAM, IPPROTO_UDP, nullptr, 0, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  auto* const generic = reinterpret_cast<sockaddr*>(&address);
  int length = sizeof address;
  u_long on = 1;
  if (!bell.is_open() || bind(bell.get(), generic, length) != 0 ||
      getsockname(bell.get(), generic, &length) != 0 || connect(bell.get(), generic, length) != 0 ||
      ioctlsocket(bell.get(), static_cast<long>(FIONBIO), &on) != 0) {
    fail("the event loop's own socket");
  }
  SetHandleInformation(reinterpret_cast<HANDLE>(bell.get()), HANDLE_FLAG_INHERIT, 0);
  return bell.release();
}

}  // namespace

struct EventLoop::Implementation {
  struct Watched {
    short events;
    std::shared_ptr<ReadyCallback> handler;
  };
  struct Timer {
    TimePoint due;
    Callback callback;
  };

  const Winsock winsock;
  const Socket bell{open_bell()};
  std::map<Descriptor, Watched> watched;
  std::map<TimerId, Timer> timers;
  TimerId next_timer = 1;
  std::atomic<bool> stopped = false;

  std::map<TimerId, Timer>::iterator earliest_timer() {
    return std::min_element(timers.begin(), timers.end(), [](const auto& a, const auto& b) {
      return a.second.due < b.second.due;
    });
  }

  // Milliseconds until the next timer is due, rounded up.
  int sleep_time() {
    if (timers.empty()) return static_cast<int>(kLongestSleep.count());
    const auto left = std::chrono::ceil<milliseconds>(earliest_timer()->second.due - Clock::now());
    return static_cast<int>(std::clamp(left, milliseconds::zero(), kLongestSleep).count());
  }

  // Sleeps until there is something to do. Returns what is ready.
  std::vector<WSAPOLLFD> poll() {
    std::vector<WSAPOLLFD> all = {{bell.get(), POLLIN, 0}};
    for (const auto& [descriptor, one] : watched) all.push_back({descriptor, one.events, 0});
    if (WSAPoll(all.data(), static_cast<ULONG>(all.size()), sleep_time()) < 0) fail("WSAPoll");
    if (all[0].revents != 0) {
      char signal = 0;
      recv(bell.get(), &signal, sizeof signal, 0);
    }
    all.erase(all.begin());
    std::erase_if(all, [](const WSAPOLLFD& one) { return one.revents == 0; });
    return all;
  }

  // A timer that a callback adds is due after `now`, so it is left for the next round.
  void run_timers() {
    const TimePoint now = Clock::now();
    for (auto next = earliest_timer(); next != timers.end() && next->second.due <= now;
         next = earliest_timer()) {
      const Callback callback = std::move(next->second.callback);
      timers.erase(next);
      callback();
    }
  }

  void run_ready(const std::vector<WSAPOLLFD>& ready) {
    for (const WSAPOLLFD& one : ready) {
      const auto found = watched.find(one.fd);
      if (found == watched.end()) continue;
      const std::shared_ptr<ReadyCallback> handler = found->second.handler;  // outlives unwatching
      (*handler)(one.revents);
    }
  }
};

EventLoop::EventLoop() : implementation_(std::make_unique<Implementation>()) {}

EventLoop::~EventLoop() = default;

void EventLoop::watch(Descriptor descriptor, short events, ReadyCallback on_ready) {
  implementation_->watched[descriptor] = {events,
                                          std::make_shared<ReadyCallback>(std::move(on_ready))};
}

void EventLoop::unwatch(Descriptor descriptor) { implementation_->watched.erase(descriptor); }

EventLoop::TimerId EventLoop::add_timer(std::chrono::microseconds delay, Callback callback) {
  const TimerId id = implementation_->next_timer++;
  const auto bounded = std::clamp<std::chrono::microseconds>(delay, delay.zero(), kLongestTime);
  implementation_->timers[id] = {Clock::now() + bounded, std::move(callback)};
  return id;
}

void EventLoop::cancel_timer(TimerId timer) { implementation_->timers.erase(timer); }

void EventLoop::run() {
  while (!implementation_->stopped.load()) {
    const std::vector<WSAPOLLFD> ready = implementation_->poll();
    implementation_->run_timers();
    implementation_->run_ready(ready);
  }
  implementation_->stopped = false;
}

void EventLoop::stop() {
  implementation_->stopped = true;
  const char signal = 0;
  send(implementation_->bell.get(), &signal, sizeof signal, 0);
}

}  // namespace plexum::windows
