#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/tcp_client.h"
#include "platform/windows/message_window.h"
#include "platform/windows/reception.h"
#include "platform/windows/resolver.h"
#include "platform/windows/winsock.h"

namespace plexum::windows {

// The control's own TCP client, over a non-blocking socket. What happens to the connection comes by
// messages to a hidden window of the thread; what arrives on it goes into a receive that is under
// way. Both end a wait at once.
//
// The messages only move things on. State and BytesReceived look for themselves, so they are true
// also in a host that has not processed a message yet; a job of the control costs one send, one
// wait and one receive. Use the client on the thread that first calls Connect.
class BuiltInTcpClient : public TcpClient {
 public:
  BuiltInTcpClient() = default;
  ~BuiltInTcpClient() override = default;

  std::int16_t State() override;
  std::int32_t BytesReceived() override;
  void RemoteHost(const std::string& host) override { host_ = host; }
  void RemotePort(std::int32_t port) override;
  void Connect() override;
  void SendData(const std::string& bytes) override;
  std::string GetData() override;
  void Close() override;
  ConnectFailure connect_failure() override { return connect_failure_; }

 private:
  // Moves the connection on as far as it goes without waiting.
  void look();
  void look_at_look_up();
  void look_at_connect();
  void try_addresses();
  void connected();
  void receive();
  void receive_more();
  void take(const Reception::Arrival& arrival);
  void flush();
  // Sends what the socket takes of it now; returns how much that was.
  std::size_t send(const char* bytes, std::size_t size);
  void fail_sending();
  void fail();

  Winsock winsock_;
  std::unique_ptr<MessageWindow> window_;  // from the first Connect on
  std::unique_ptr<NameLookUp> look_up_;
  Socket socket_;
  std::unique_ptr<Reception> reception_;  // while connected

  std::string host_;
  std::int32_t port_ = 0;

  // Closed, resolving, connecting, connected or error. State tells this, with one exception: while
  // bytes are left to be taken it tells kTcpConnected.
  std::int16_t state_ = kTcpClosed;
  std::vector<SocketAddress> addresses_;
  std::size_t next_address_ = 0;
  ConnectFailure connect_failure_ = ConnectFailure::kUnknown;  // of the address tried last
  bool peer_closed_ = false;
  bool send_failed_ = false;
  std::string inbound_;
  std::string outbound_;
};

}  // namespace plexum::windows
