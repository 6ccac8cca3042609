#include "cli/link/local_platform.h"
#include "platform/posix/event_loop.h"
#include "platform/posix/host_environment.h"
#include "platform/posix/tcp_client.h"

namespace plexum::cli {

struct LocalPlatform::Parts {
  posix::EventLoop loop;
  posix::PosixHostEnvironment environment{loop};
  posix::PosixTcpClient tcp_client{loop};
};

LocalPlatform::LocalPlatform() : parts_(std::make_unique<Parts>()) {}

LocalPlatform::~LocalPlatform() = default;

HostEnvironment& LocalPlatform::environment() { return parts_->environment; }

TcpClient& LocalPlatform::tcp_client() { return parts_->tcp_client; }

}  // namespace plexum::cli
