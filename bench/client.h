#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "bench/floor.h"
#include "client/s7_client.h"
#include "platform/posix/event_loop.h"
#include "platform/posix/host_environment.h"
#include "platform/posix/tcp_client.h"

namespace plexum::bench {

// A client with a connection of its own, on a loop that it may share with others.
struct Client {
  Client(posix::EventLoop& loop, std::uint16_t port, const client::Options& options = {})
      : environment(loop), tcp(loop), s7(environment, tcp, options) {
    s7.connect({.host = "127.0.0.1", .port = port});
  }

  posix::PosixHostEnvironment environment;
  posix::PosixTcpClient tcp;
  client::S7Client s7;
};

// Reads all; throws std::runtime_error unless the PLC gives every item.
void read(client::S7Client& s7, std::span<const client::Item> items);

// What a client exchanges with the PLC on that port.
struct ClientDialogues {
  Dialogue connecting;
  Dialogue job;
};
ClientDialogues dialogues_of_reading(std::span<const client::Item> items, std::uint16_t port,
                                     const client::Options& options = {});

}  // namespace plexum::bench
