#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "cli/watching/capture_file.h"
#include "cli/watching/forwarding_tcp_client.h"

namespace plexum::cli {

// A TCP client that writes what is sent and taken into a capture file, one connection after the
// other; several clients may share a file. A connection that never comes up leaves nothing in it.
// Bytes that had arrived when the connection was closed are in the capture, although nobody took
// them.
class CapturingTcpClient final : public ForwardingTcpClient {
 public:
  // Both must outlive the client.
  CapturingTcpClient(TcpClient& inner, CaptureFile& file)
      : ForwardingTcpClient(inner), file_(file) {}
  ~CapturingTcpClient() override;

  std::int16_t State() override;
  void RemoteHost(const std::string& host) override;
  void RemotePort(std::int32_t port) override;
  void SendData(const std::string& bytes) override;
  std::string GetData() override;
  void Close() override;

 private:
  CapturedConnection& connection();
  void end_connection();

  CaptureFile& file_;
  std::string host_;
  std::int32_t port_ = 0;
  std::optional<CapturedConnection> connection_;
  CapturedConnection::End end_ = CapturedConnection::End::kByClient;
};

// The capture of a command: there where a path is given.
class OptionalCapture {
 public:
  // `inner` must outlive it. Throws std::system_error when the file can't be written.
  OptionalCapture(TcpClient& inner, const std::string& path);
  // Says on standard error where the capture could not be written to its end.
  ~OptionalCapture();
  OptionalCapture(const OptionalCapture&) = delete;
  OptionalCapture& operator=(const OptionalCapture&) = delete;

  // The client whose telegrams are captured, or `inner` where nothing is.
  TcpClient& tcp_client() { return capturing_ ? *capturing_ : inner_; }

 private:
  TcpClient& inner_;
  std::optional<CaptureFile> file_;
  std::optional<CapturingTcpClient> capturing_;
};

}  // namespace plexum::cli
