#pragma once

#include <string>

#include "cli/link/command_environment.h"
#include "cli/link/local_platform.h"
#include "cli/watching/capture.h"
#include "cli/watching/watched_tcp_client.h"
#include "control/plexum_link.h"

namespace plexum::cli {

// A control with everything that it needs on this system. Where a path is given its telegrams go
// into a capture file, too.
struct LocalLink {
  // Throws std::system_error when the capture file can't be written.
  explicit LocalLink(const std::string& capture_path = {})
      : capture(platform.tcp_client(), capture_path) {}
  LocalLink(const LocalLink&) = delete;
  LocalLink& operator=(const LocalLink&) = delete;

  // Each stands on those before it.
  LocalPlatform platform;
  OptionalCapture capture;
  WatchedTcpClient watched{capture.tcp_client()};
  CommandEnvironment environment{platform.environment()};
  PlexumLink link{environment, watched};
};

}  // namespace plexum::cli
