#pragma once

#include "control/plexum_link.h"
#include "platform/posix/event_loop.h"
#include "platform/posix/host_environment.h"
#include "platform/posix/tcp_client.h"

namespace plexum::bench {

// A control with a connection of its own, on a loop that it may share with others.
struct Control {
  explicit Control(posix::EventLoop& loop) : environment(loop), client(loop) {}

  posix::PosixHostEnvironment environment;
  posix::PosixTcpClient client;
  PlexumLink link{environment, client};
};

}  // namespace plexum::bench
