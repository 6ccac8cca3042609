#include "cli/link/local_platform.h"
#include "platform/posix/event_loop.h"
#include "platform/posix/host_environment.h"
#include "platform/posix/tcp_client.h"

namespace plexum::cli {

struct LocalPlatform::System {
  posix::EventLoop loop;
  posix::PosixHostEnvironment environment{loop};
  posix::PosixTcpClient tcp_client{loop};
};

LocalPlatform::LocalPlatform() : system_(std::make_unique<System>()) {}

LocalPlatform::~LocalPlatform() = default;

HostEnvironment& LocalPlatform::environment() { return system_->environment; }

TcpClient& LocalPlatform::tcp_client() { return system_->tcp_client; }

}  // namespace plexum::cli
