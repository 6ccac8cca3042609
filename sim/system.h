#pragma once

// What the simulated PLC uses of the system that it runs on.

#ifdef _WIN32

#include "platform/windows/event_loop.h"

namespace plexum::sim {

using EventLoop = windows::EventLoop;
using Socket = EventLoop::Descriptor;

// Windows has no signals, so there is nothing to block.
class SignalsBlocked {
 public:
  SignalsBlocked() {}  // NOLINT(modernize-use-equals-default): else it would count as unused
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;
};

}  // namespace plexum::sim

#else

#include <signal.h>

#include "platform/posix/event_loop.h"

namespace plexum::sim {

using EventLoop = posix::EventLoop;
using Socket = int;

// A thread that is started while this lives takes no signals: those are for the host's threads.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~SignalsBlocked() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t before_;
};

}  // namespace plexum::sim

#endif
