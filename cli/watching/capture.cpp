#include "cli/watching/capture.h"

namespace plexum::cli {

CapturingTcpClient::~CapturingTcpClient() { end_connection(); }

std::int16_t CapturingTcpClient::State() {
  const std::int16_t state = inner_.State();
  if (state == kTcpConnected) connection();
  if (state == kTcpPeerClosing) end_ = CapturedConnection::End::kByServer;
  if (state == kTcpError) end_ = CapturedConnection::End::kReset;
  return state;
}

void CapturingTcpClient::RemoteHost(const std::string& host) {
  inner_.RemoteHost(host);
  host_ = host;
}

void CapturingTcpClient::RemotePort(std::int32_t port) {
  inner_.RemotePort(port);
  port_ = port;
}

void CapturingTcpClient::SendData(const std::string& bytes) {
  inner_.SendData(bytes);
  connection().client_sent(bytes);
}

std::string CapturingTcpClient::GetData() {
  std::string bytes = inner_.GetData();
  if (!bytes.empty()) connection().server_sent(bytes);
  return bytes;
}

void CapturingTcpClient::Close() {
  if (connection_) {
    if (inner_.BytesReceived() > 0) GetData();
    State();  // for who ended it
  }
  inner_.Close();
  end_connection();
}

// The present connection, which comes up in the capture when it is first seen to be up.
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

}  // namespace plexum::cli
