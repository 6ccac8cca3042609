#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/tcp_client.h"
#include "platform/windows/message_window.h"
#include "platform/windows/name_resolution.h"
#include "platform/windows/winsock.h"

namespace plexum::windows {

// The control's own TCP client, over a non-blocking socket that announces what happens by messages
// to a hidden window of the creating thread: a wait for messages ends at once when data arrive.
//
// The messages only wake and move things on; every member asks the socket itself, so State and
// BytesReceived are true also in a host that has not processed a message yet. Use it on the thread
// that first calls Connect.
class BuiltInTcpClient : public TcpClient {
 public:
  // Bytes that may lie here untaken; the peer's further ones stay in the system's buffers, which
  // stops the peer.
  static constexpr std::size_t kInboundLimit = std::size_t{1} << 20;
  // Bytes that may lie here unsent; a SendData that would exceed it sends nothing and is error
  // 10055, the number of the environment's TCP client for a lack of buffers.
  static constexpr std::size_t kOutboundLimit = std::size_t{16} << 20;
  static constexpr std::int32_t kNoBufferSpace = 10055;

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

 private:
  // Moves the connection on as far as it goes without waiting.
  void poll();
  void poll_resolution();
  void poll_connection();
  void connect_to_next_address();
  void receive();
  void send_queued();
  // Sends what the socket takes of it now; returns how much that was.
  std::size_t send(const char* bytes, std::size_t size);
  void fail_sending();
  void fail();

  Winsock winsock_;
  std::unique_ptr<MessageWindow> window_;  // from the first Connect on
  std::unique_ptr<NameResolution> resolution_;
  Socket socket_;

  std::string host_;
  std::int32_t port_ = 0;

  // Closed, resolving, connecting, connected or error, as if nothing were left to be taken.
  std::int16_t phase_ = kTcpClosed;
  std::vector<SocketAddress> addresses_;  // not tried yet, the next one last
  bool peer_closed_ = false;
  bool send_failed_ = false;
  std::string received_;  // arrived and not taken
  std::string unsent_;    // not taken by the socket yet
};

}  // namespace plexum::windows
