#pragma once

#include <memory>

#include "base/host_environment.h"
#include "base/tcp_client.h"

namespace plexum::cli {

// What a control needs of the system that the command runs on. Numbers in texts are plain decimals
// whatever the user's locale, so that a script reads the same everywhere.
class LocalPlatform {
 public:
  LocalPlatform();
  ~LocalPlatform();
  LocalPlatform(const LocalPlatform&) = delete;
  LocalPlatform& operator=(const LocalPlatform&) = delete;

  HostEnvironment& environment();
  TcpClient& tcp_client();

 private:
  struct System;
  std::unique_ptr<System> system_;
};

}  // namespace plexum::cli
