#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/tcp_client.h"
#include "cli/watching/capture_file.h"

namespace plexum::cli {

// A TCP client that writes what the control sends and takes into a capture file, one connection
// after the other; several clients may share a file. A connection that never comes up leaves
// nothing in it. What had arrived when the control closed is part of the capture, although the
// control never took it.
class CapturingTcpClient final : public TcpClient {
 public:
  // Both must outlive the client.
  CapturingTcpClient(TcpClient& inner, CaptureFile& file) : inner_(inner), file_(file) {}
  ~CapturingTcpClient() override;

  std::int16_t State() override;
  std::int32_t BytesReceived() override { return inner_.BytesReceived(); }
  void RemoteHost(const std::string& host) override;
  void RemotePort(std::int32_t port) override;
  void Connect() override { inner_.Connect(); }
  void SendData(const std::string& bytes) override;
  std::string GetData() override;
  void Close() override;

 private:
  CapturedConnection& connection();
  void end_connection();

  TcpClient& inner_;
  CaptureFile& file_;
  std::string host_;
  std::int32_t port_ = 0;
  std::optional<CapturedConnection> connection_;
  CapturedConnection::End end_ = CapturedConnection::End::kByClient;
};

}  // namespace plexum::cli
