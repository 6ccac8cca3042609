#pragma once

#include <cstdint>
#include <string>

#include "base/tcp_client.h"

namespace plexum::cli {

// A TCP client that passes every call on to another one. Derived classes override what they watch.
class ForwardingTcpClient : public TcpClient {
 public:
  // `inner` must outlive it.
  explicit ForwardingTcpClient(TcpClient& inner) : inner_(inner) {}

  std::int16_t State() override { return inner_.State(); }
  std::int32_t BytesReceived() override { return inner_.BytesReceived(); }
  void RemoteHost(const std::string& host) override { inner_.RemoteHost(host); }
  void RemotePort(std::int32_t port) override { inner_.RemotePort(port); }
  void Connect() override { inner_.Connect(); }
  void SendData(const std::string& bytes) override { inner_.SendData(bytes); }
  std::string GetData() override { return inner_.GetData(); }
  void Close() override { inner_.Close(); }
  ConnectFailure connect_failure() override { return inner_.connect_failure(); }

 protected:
  TcpClient& inner() { return inner_; }

 private:
  TcpClient& inner_;
};

}  // namespace plexum::cli
