#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

// The linker leads calls of this test program to the system through functions of its own, which
// note them, answer names without a name server, and do what is told here.
namespace plexum::posix::test {

struct Interposed {
  int client = -1;                  // the descriptor that was connected last
  std::vector<std::string> calls;   // its send and recv, and the loop's, in their order
  bool connects_to_itself = false;  // a socket gets the port that it connects to
  // Where the steady clock stands, but for a nanosecond a question.
  std::optional<std::chrono::steady_clock::time_point> time;
};
extern Interposed interposed;  // of the loop's thread

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
