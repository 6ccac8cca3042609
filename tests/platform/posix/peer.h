#pragma once

#include <arpa/inet.h>
#include <linux/sockios.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <cstring>
#include <stdexcept>
#include <string>

#include "platform/posix/descriptor.h"

// The other side of a connection, by plain blocking calls and none of the code under test. Nothing
// here lasts longer than 10 seconds.
namespace plexum::posix::test {

class Peer {
 public:
  explicit Peer(int descriptor) : descriptor_(descriptor) {
    const timeval limit{10, 0};
    ::setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    ::setsockopt(descriptor, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
  }

  void send(const std::string& bytes) {
    if (::write(descriptor_.get(), bytes.data(), bytes.size()) !=
        static_cast<ssize_t>(bytes.size())) {
      throw std::runtime_error("peer: the bytes can't be sent");
    }
  }

  // Exactly that many bytes, or fewer where the connection ends.
  std::string receive(std::size_t size) {
    std::string bytes(size, '\0');
    std::size_t got = 0;
    while (got < size) {
      const ssize_t count = ::read(descriptor_.get(), bytes.data() + got, size - got);
      if (count <= 0) break;
      got += static_cast<std::size_t>(count);
    }
    bytes.resize(got);
    return bytes;
  }

  void finish_sending() { ::shutdown(descriptor_.get(), SHUT_WR); }
  void close() { descriptor_.reset(); }

  // Ends the connection by RST.
  void reset() {
    const linger at_once{1, 0};
    ::setsockopt(descriptor_.get(), SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
    close();
  }

  // Whether all that was sent lies in the other side's buffers.
  [[nodiscard]] bool has_delivered() const {
    int pending = 0;
    return ::ioctl(descriptor_.get(), SIOCOUTQ, &pending) == 0 && pending == 0;
  }

 private:
  Descriptor descriptor_;
};

// Listens on a free port of the machine itself.
class Listener {
 public:
  explicit Listener(int family = AF_INET, int backlog = 16)
      : descriptor_(::socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_storage address{};
    socklen_t length = 0;
    if (family == AF_INET6) {
      sockaddr_in6 in6{};
      in6.sin6_family = AF_INET6;
      in6.sin6_addr = in6addr_loopback;
      std::memcpy(&address, &in6, length = sizeof in6);
    } else {
      sockaddr_in in{};
      in.sin_family = AF_INET;
      in.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
      std::memcpy(&address, &in, length = sizeof in);
    }
    const int small_buffer = 64 * 1024;  // so that a large transfer takes many steps
    ::setsockopt(descriptor_.get(), SOL_SOCKET, SO_RCVBUF, &small_buffer, sizeof small_buffer);
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    listening_ = ::bind(descriptor_.get(), generic, length) == 0 &&
                 ::listen(descriptor_.get(), backlog) == 0 &&
                 ::getsockname(descriptor_.get(), generic, &length) == 0;
    sockaddr_in in{};  // the port has the same place in both families
    std::memcpy(&in, &address, sizeof in);
    port_ = ntohs(in.sin_port);
  }

  // False where the machine lacks the family.
  [[nodiscard]] bool listening() const { return listening_; }
  [[nodiscard]] int port() const { return port_; }
  void close() { descriptor_.reset(); }

  Peer accept() {
    pollfd ready{descriptor_.get(), POLLIN, 0};
    if (::poll(&ready, 1, 10000) != 1) throw std::runtime_error("listener: nobody connects");
    return Peer(::accept4(descriptor_.get(), nullptr, nullptr, SOCK_CLOEXEC));
  }

 private:
  Descriptor descriptor_;
  bool listening_ = false;
  int port_ = 0;
};

}  // namespace plexum::posix::test
