#pragma once

#include <functional>
#include <optional>
#include <string>

#include "cli/link/command_environment.h"
#include "cli/link/local_platform.h"
#include "cli/watching/capture.h"
#include "control/plexum_link.h"

namespace plexum::cli {

// A TCP client that shows what the control sends and takes.
class WatchedTcpClient final : public TcpClient {
 public:
  explicit WatchedTcpClient(TcpClient& inner) : inner_(inner) {}

  // Called with the bytes of each telegram sent and of each answer taken.
  std::function<void(const std::string&)> on_sent = [](const std::string&) {};
  std::function<void(const std::string&)> on_taken = [](const std::string&) {};

  std::int16_t State() override { return inner_.State(); }
  std::int32_t BytesReceived() override { return inner_.BytesReceived(); }
  void RemoteHost(const std::string& host) override { inner_.RemoteHost(host); }
  void RemotePort(std::int32_t port) override { inner_.RemotePort(port); }
  void Connect() override { inner_.Connect(); }
  void SendData(const std::string& bytes) override;
  std::string GetData() override;
  void Close() override { inner_.Close(); }

 private:
  TcpClient& inner_;
};

// A control with everything that it needs on this system, and a capture of its telegrams where a
// file is named.
class LocalLink {
 public:
  // Throws std::system_error when the capture file can't be written.
  explicit LocalLink(const std::string& capture_path = {});
  // A capture that could not be written to its end says so on standard error.
  ~LocalLink();
  LocalLink(const LocalLink&) = delete;
  LocalLink& operator=(const LocalLink&) = delete;

 private:
  LocalPlatform platform_;
  std::optional<CaptureFile> capture_file_;
  std::optional<CapturingTcpClient> capturing_;

 public:
  CommandEnvironment environment{platform_.environment()};
  WatchedTcpClient watched;
  PlexumLink link{environment, watched};
};

}  // namespace plexum::cli
