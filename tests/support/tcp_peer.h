#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

namespace plexum::test {

// One end of a TCP connection, on this thread. Every failure of the system throws
// std::runtime_error.
class TcpEnd {
 public:
  // The connection was reset by the other end.
  struct Reset;

  TcpEnd(const TcpEnd&) = delete;
  TcpEnd& operator=(const TcpEnd&) = delete;

  // Sends all of it; waits while the network is full.
  void send(const std::string& bytes);
  // Sends what the network takes now, and returns how much that was.
  std::size_t send_some(const std::string& bytes);
  // Waits for that many bytes; fewer only if the other end has closed.
  std::string receive(std::size_t size);
  // What is there now, up to that many bytes.
  std::string receive_some(std::size_t size);

  // Sends no more, which the other end sees as an orderly end; receiving goes on.
  void finish();
  void close();
  // Ends the connection by a reset, as a machine does that has been switched off and on.
  void reset();

 protected:
  // Sockets are small integers on some systems and handles on others; both fit.
  using Descriptor = std::intptr_t;
  static constexpr Descriptor kNone = -1;

  TcpEnd() = default;
  ~TcpEnd() { close(); }

  static void close_descriptor(Descriptor& descriptor);

  Descriptor connection_ = kNone;
};

struct TcpEnd::Reset : std::runtime_error {
  using runtime_error::runtime_error;
};

// The end that connects to a port of this machine.
class TcpVisitor : public TcpEnd {
 public:
  explicit TcpVisitor(std::uint16_t port);
};

// The end that listens, on a free port of this machine, and the one connection that it has
// accepted.
class TcpPeer : public TcpEnd {
 public:
  enum class Family { kIpv4, kIpv6 };

  // Whether this machine has any IPv6; without it no peer can be of that family.
  static bool has_ipv6();

  explicit TcpPeer(Family family = Family::kIpv4);
  ~TcpPeer();

  [[nodiscard]] std::int32_t port() const { return port_; }

  // Waits for a connection; what was accepted before is closed.
  void accept();
  // Accepts no more connections, so that the port refuses.
  void stop_listening();

 private:
  Descriptor listener_ = kNone;
  std::int32_t port_ = 0;
};

}  // namespace plexum::test
