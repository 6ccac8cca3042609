#include "platform/posix/interposed.h"

#include <netdb.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/timerfd.h>

#include <atomic>
#include <chrono>
#include <string>

namespace plexum::posix::test {

Interposed interposed;

namespace {

using Clock = std::chrono::steady_clock;

std::atomic<bool> slow = false;
std::atomic<int> hanging_look_ups = 0;

}  // namespace

SlowNames::SlowNames() { slow = true; }
SlowNames::~SlowNames() {
  slow = false;
  slow.notify_all();
  while (const int left = hanging_look_ups) hanging_look_ups.wait(left);
}
int SlowNames::hanging() { return hanging_look_ups; }

// NOLINTBEGIN: the linker's names
extern "C" {
ssize_t __real_send(int, const void*, size_t, int);
ssize_t __real_recv(int, void*, size_t, int);
int __real_epoll_wait(int, epoll_event*, int, int);
int __real_timerfd_settime(int, int, const itimerspec*, itimerspec*);
int __real_connect(int, const sockaddr*, socklen_t);
int __real_getaddrinfo(const char*, const char*, const addrinfo*, addrinfo**);

ssize_t __wrap_send(int descriptor, const void* bytes, size_t size, int flags) {
  if (descriptor == interposed.client) interposed.calls.emplace_back("send");
  return __real_send(descriptor, bytes, size, flags);
}

ssize_t __wrap_recv(int descriptor, void* bytes, size_t size, int flags) {
  if (descriptor == interposed.client) interposed.calls.emplace_back("recv");
  return __real_recv(descriptor, bytes, size, flags);
}

int __wrap_epoll_wait(int set, epoll_event* events, int count, int timeout) {
  interposed.calls.emplace_back(timeout < 0 ? "wait" : "wait " + std::to_string(timeout));
  return __real_epoll_wait(set, events, count, timeout);
}

int __wrap_timerfd_settime(int timer, int flags, const itimerspec* time, itimerspec* old) {
  interposed.calls.emplace_back("alarm");
  return __real_timerfd_settime(timer, flags, time, old);
}

int __wrap_connect(int descriptor, const sockaddr* address, socklen_t length) {
  interposed.client = descriptor;
  if (interposed.connects_to_itself) ::bind(descriptor, address, length);
  return __real_connect(descriptor, address, length);
}

int __wrap_getaddrinfo(const char* name, const char* service, const addrinfo* hints,
                       addrinfo** result) {
  const bool is_name = (hints->ai_flags & AI_NUMERICHOST) == 0;
  if (!is_name || std::string(name) == "localhost") {
    return __real_getaddrinfo(name, service, hints, result);
  }
  if (std::string(name) == "many.invalid") {
    for (const char* address : {"0.0.0.0", "127.0.0.2", "127.0.0.1"}) {
      __real_getaddrinfo(address, service, hints, result);
      result = &(*result)->ai_next;
    }
    return 0;
  }
  if (std::string(name) == "slow.invalid") {
    ++hanging_look_ups;
    slow.wait(true);
    --hanging_look_ups;
    hanging_look_ups.notify_all();
  }
  return EAI_NONAME;
}
}

Clock::time_point real_now() __asm__("__real__ZNSt6chrono3_V212steady_clock3nowEv");
Clock::time_point wrapped_now() __asm__("__wrap__ZNSt6chrono3_V212steady_clock3nowEv");

Clock::time_point wrapped_now() {
  if (!interposed.time) return real_now();
  return *interposed.time += std::chrono::nanoseconds(1);
}
// NOLINTEND

}  // namespace plexum::posix::test
