#pragma once

#include <sys/socket.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "platform/posix/event_loop.h"

namespace plexum::posix {

// An IPv4 or IPv6 address with its port.
struct SocketAddress {
  sockaddr_storage storage{};
  socklen_t length = 0;

  [[nodiscard]] const sockaddr* get() const {
    return reinterpret_cast<const sockaddr*>(&storage);  // the sockets interface's own cast
  }
};

// The address that an IP literal ("10.0.0.5", "fe80::1%eth0") names; empty for any other text.
std::vector<SocketAddress> resolve_literal(const std::string& host, std::uint16_t port);

// Looks a host name up on a thread of its own and posts `done` with its addresses, in the order in
// which they are to be tried; none if it has none or if too many look-ups run already. Returns at
// once. When the loop has gone by then, `done` is dropped uncalled, on that thread.
void resolve_name(std::string host, std::uint16_t port, EventLoop::Poster poster,
                  std::function<void(std::vector<SocketAddress>)> done);

}  // namespace plexum::posix
