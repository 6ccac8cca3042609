#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "sim/bytes.h"
#include "sim/system.h"

// TCP sockets, of which no call blocks.
namespace plexum::sim {

// What an event loop watches a socket for.
extern const short kReadable;
extern const short kWritable;

// Listens on an address (IPv4, IPv6, or a name of this machine); port 0 takes a free one. Throws
// std::system_error, which says where, when it can't.
Socket listen_on(const std::string& address, std::uint16_t port);
std::uint16_t port_of(Socket listener);

enum class Outcome {
  kDone,
  kNotNow,
  kFailed  // receiving, sending: the connection is gone; accepting: the system is out of sockets
};

struct Accepted {
  Outcome outcome;
  Socket socket;  // if done
};
Accepted accept_from(Socket listener);

struct Moved {
  Outcome outcome;
  std::size_t bytes;  // if done; none received: the peer has finished
};
Moved receive_from(Socket socket, std::span<std::uint8_t> buffer);
Moved send_to(Socket socket, ByteView bytes);

void close_socket(Socket socket);
// Ends the connection by a reset; what wasn't sent yet is lost.
void reset_socket(Socket socket);

}  // namespace plexum::sim
