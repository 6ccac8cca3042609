#pragma once

#include <functional>
#include <string>

#include "cli/watching/forwarding_tcp_client.h"

namespace plexum::cli {

// A TCP client that shows the bytes that go through it.
class WatchedTcpClient final : public ForwardingTcpClient {
 public:
  using ForwardingTcpClient::ForwardingTcpClient;

  // Called with what was just sent, and with what was just taken (which may be nothing).
  std::function<void(const std::string&)> on_sent = [](const std::string&) {};
  std::function<void(const std::string&)> on_taken = [](const std::string&) {};

  void SendData(const std::string& bytes) override;
  std::string GetData() override;
};

}  // namespace plexum::cli
