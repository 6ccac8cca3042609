#include "cli/watching/capture.h"

#include <cstdio>

namespace plexum::cli {

CapturingTcpClient::~CapturingTcpClient() { end_connection(); }

std::int16_t CapturingTcpClient::State() {
  const std::int16_t state = inner().State();
  if (state == kTcpConnected) connection();
  if (state == kTcpPeerClosing) end_ = CapturedConnection::End::kByServer;
  if (state == kTcpError) end_ = CapturedConnection::End::kReset;
  return state;
}

void CapturingTcpClient::RemoteHost(const std::string& host) {
  inner().RemoteHost(host);
  host_ = host;
}

void CapturingTcpClient::RemotePort(std::int32_t port) {
  inner().RemotePort(port);
  port_ = port;
}

void CapturingTcpClient::SendData(const std::string& bytes) {
  inner().SendData(bytes);
  connection().client_sent(bytes);
}

std::string CapturingTcpClient::GetData() {
  std::string bytes = inner().GetData();
  if (!bytes.empty()) connection().server_sent(bytes);
  return bytes;
}

void CapturingTcpClient::Close() {
  if (connection_) {
    if (inner().BytesReceived() > 0) GetData();
    State();  // notes which side ended it
  }
  inner().Close();
  end_connection();
}

// The present connection. Its handshake is written when it is first seen to be up.
CapturedConnection& CapturingTcpClient::connection() {
  if (!connection_) {
    end_ = CapturedConnection::End::kByClient;
    const CaptureEndpoint server = captured_server(host_, port_);
    connection_.emplace(file_, captured_client(server, file_.next_client_port()), server);
  }
  return *connection_;
}

void CapturingTcpClient::end_connection() {
  if (connection_) connection_->close(end_);
  connection_.reset();
}

OptionalCapture::OptionalCapture(TcpClient& inner, const std::string& path) : inner_(inner) {
  if (path.empty()) return;
  file_.emplace(path);
  capturing_.emplace(inner, *file_);
}

OptionalCapture::~OptionalCapture() {
  if (file_ && !file_->complete()) {
    std::fputs("plexum: the capture is incomplete: writing it failed\n", stderr);
  }
}

}  // namespace plexum::cli
