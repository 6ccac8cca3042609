#include "platform/posix/interposed.h"

#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>

namespace plexum::posix::test {

SystemCalls system_calls;
int last_sender = -1;

namespace {

using Clock = std::chrono::steady_clock;

bool own_ports = false;

bool clock_stands = false;
Clock::time_point standing_time;

std::mutex mutex;
std::condition_variable changed;
bool slow = false;
int hanging = 0;

}  // namespace

OwnPorts::OwnPorts() { own_ports = true; }
OwnPorts::~OwnPorts() { own_ports = false; }

StandingClock::StandingClock() {
  standing_time = Clock::now();
  clock_stands = true;
}
StandingClock::~StandingClock() { clock_stands = false; }
void StandingClock::advance(std::chrono::milliseconds time) { standing_time += time; }

SlowNames::SlowNames() {
  const std::scoped_lock lock(mutex);
  slow = true;
}
SlowNames::~SlowNames() {
  std::unique_lock lock(mutex);
  slow = false;
  changed.notify_all();
  changed.wait(lock, [] { return test::hanging == 0; });
}
int SlowNames::hanging() {
  const std::scoped_lock lock(mutex);
  return test::hanging;
}

// NOLINTBEGIN: the linker's names
extern "C" {
ssize_t __real_send(int, const void*, size_t, int);
ssize_t __real_recv(int, void*, size_t, int);
int __real_ppoll(pollfd*, nfds_t, const timespec*, const sigset_t*);
int __real_connect(int, const sockaddr*, socklen_t);
int __real_getaddrinfo(const char*, const char*, const addrinfo*, addrinfo**);

ssize_t __wrap_send(int descriptor, const void* bytes, size_t size, int flags) {
  ++system_calls.sends;
  last_sender = descriptor;
  return __real_send(descriptor, bytes, size, flags);
}

ssize_t __wrap_recv(int descriptor, void* bytes, size_t size, int flags) {
  ++system_calls.receives;
  return __real_recv(descriptor, bytes, size, flags);
}

int __wrap_ppoll(pollfd* slots, nfds_t count, const timespec* timeout, const sigset_t* signals) {
  ++system_calls.polls;
  return __real_ppoll(slots, count, timeout, signals);
}

int __wrap_connect(int descriptor, const sockaddr* address, socklen_t length) {
  ++system_calls.connects;
  if (own_ports) ::bind(descriptor, address, length);
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
    std::unique_lock lock(mutex);
    ++hanging;
    changed.wait(lock, [] { return !slow; });
    --hanging;
    changed.notify_all();
  }
  return EAI_NONAME;
}
}

Clock::time_point real_now() __asm__("__real__ZNSt6chrono3_V212steady_clock3nowEv");
Clock::time_point wrapped_now() __asm__("__wrap__ZNSt6chrono3_V212steady_clock3nowEv");

Clock::time_point wrapped_now() {
  if (!clock_stands) return real_now();
  return standing_time += std::chrono::nanoseconds(1);
}
// NOLINTEND

}  // namespace plexum::posix::test
