#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "platform/windows/messages.h"
#include "platform/windows/windows_headers.h"

namespace plexum::windows {

// The receives of a connected socket, of which one is under way as a rule: the system puts what
// arrives into a buffer and ends a wait of this thread (WakeEvent). So to ask whether something has
// arrived costs a look into memory, and no message is posted for it, which a host that processes
// none would collect without end.
class Reception {
 public:
  explicit Reception(SOCKET socket) : socket_(socket) {}
  Reception(const Reception&) = delete;
  Reception& operator=(const Reception&) = delete;
  // Ends a receive that is under way; the socket must still be open.
  ~Reception();

  [[nodiscard]] bool under_way() const { return under_way_; }

  // Starts a receive of at most so many bytes; none may be under way. False: the connection is
  // gone.
  bool start(std::size_t most);

  enum class State { kNothing, kBytes, kEnd, kLost };
  struct Arrival {
    State state;
    std::string_view bytes;  // until the next start
  };
  // What the receive under way has come to, and ends it unless that is kNothing.
  Arrival take();

  // Ends the receive that is under way, and gives what it has come to by then.
  Arrival stop();

 private:
  const SOCKET socket_;
  const WakeEvent wake_;
  OVERLAPPED operation_{};
  bool under_way_ = false;
  std::array<char, 16384> buffer_;
};

}  // namespace plexum::windows
