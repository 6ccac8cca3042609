#pragma once

#include <chrono>

// The linker leads calls of this test program to the system through functions of its own, which
// count them, answer names without a name server, and can let the steady clock stand.
namespace plexum::posix::test {

struct SystemCalls {
  int sends = 0;
  int receives = 0;
  int polls = 0;
  int connects = 0;

  bool operator==(const SystemCalls&) const = default;
};
extern SystemCalls system_calls;  // those of the loop's thread
extern int last_sender;           // descriptor of the last send

// While it lives, a socket that connects gets the port that it connects to.
class OwnPorts {
 public:
  OwnPorts();
  OwnPorts(const OwnPorts&) = delete;
  OwnPorts& operator=(const OwnPorts&) = delete;
  ~OwnPorts();
};

// While it lives, the steady clock stands, but for a nanosecond a question.
class StandingClock {
 public:
  StandingClock();
  StandingClock(const StandingClock&) = delete;
  StandingClock& operator=(const StandingClock&) = delete;
  ~StandingClock();

  void advance(std::chrono::milliseconds time);
};

// Host names but for localhost have no address, with two exceptions: "many.invalid" has 0.0.0.0,
// 127.0.0.2 and 127.0.0.1, and look-ups of "slow.invalid" hang while a SlowNames lives.
class SlowNames {
 public:
  SlowNames();
  SlowNames(const SlowNames&) = delete;
  SlowNames& operator=(const SlowNames&) = delete;
  ~SlowNames();  // releases, and returns when no look-up hangs any more

  static int hanging();
};

}  // namespace plexum::posix::test
