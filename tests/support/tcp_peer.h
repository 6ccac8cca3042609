#pragma once

#include <cstdint>
#include <string>

namespace plexum::test {

// The other end of a TCP connection, on this thread: a listener on a free port of this machine and
// the one connection that it has accepted. Every failure of the system throws std::runtime_error.
class TcpPeer {
 public:
  enum class Family { kIpv4, kIpv6 };

  // Whether this machine has any IPv6; without it no peer can be of that family.
  static bool has_ipv6();

  explicit TcpPeer(Family family = Family::kIpv4);
  TcpPeer(const TcpPeer&) = delete;
  TcpPeer& operator=(const TcpPeer&) = delete;
  ~TcpPeer();

  [[nodiscard]] std::int32_t port() const { return port_; }

  // Waits for a connection; what was accepted before is closed.
  void accept();

  // Sends all of it; waits while the network is full.
  void send(const std::string& bytes);
  // Sends what the network takes now, and returns how much that was.
  std::size_t send_some(const std::string& bytes);
  // Waits for that many bytes; fewer only if the client has closed.
  std::string receive(std::size_t size);
  // What is there now, up to that many bytes.
  std::string receive_some(std::size_t size);

  // Ends the stream in this direction, as a peer that says goodbye.
  void finish();
  void close();
  // Drops the connection as a machine that has forgotten it.
  void reset();
  // Accepts no more connections, so that the port refuses.
  void stop_listening();

 private:
  // Sockets are small integers on some systems and handles on others; both fit.
  using Descriptor = std::intptr_t;
  static constexpr Descriptor kNone = -1;

  static void close_descriptor(Descriptor& descriptor);

  Descriptor listener_ = kNone;
  Descriptor connection_ = kNone;
  std::int32_t port_ = 0;
};

}  // namespace plexum::test
