#pragma once

#include <cstdint>
#include <string>

namespace plexum {

// The states of a TCP client that matter to the control, by the numbers of the environment's TCP
// client component.
inline constexpr std::int16_t kTcpClosed = 0;
inline constexpr std::int16_t kTcpResolving = 4;
inline constexpr std::int16_t kTcpConnecting = 6;
inline constexpr std::int16_t kTcpConnected = 7;
inline constexpr std::int16_t kTcpPeerClosing = 8;
inline constexpr std::int16_t kTcpError = 9;

// Why a connection did not come up.
enum class ConnectFailure : std::uint8_t {
  kUnknown,
  kNoSuchHost,
  kUnreachable,
  kRefused,
  kTimeOut
};

// The control's connection to its PLC. No member blocks; a connection comes up, and data arrive,
// while the host environment waits or processes messages. Errors are RuntimeErrors with the TCP
// client's own numbers.
class TcpClient {
 public:
  TcpClient() = default;
  TcpClient(const TcpClient&) = delete;
  TcpClient& operator=(const TcpClient&) = delete;
  virtual ~TcpClient() = default;

  // One of the states above. kTcpPeerClosing is reported only when no received byte is left: what
  // the peer sent before it closed stays readable in kTcpConnected.
  virtual std::int16_t State() = 0;

  // Bytes that have arrived and were not taken yet.
  virtual std::int32_t BytesReceived() = 0;

  // Address or host name (UTF-8) and port of the peer for the next Connect. A port outside 0 to
  // 65535 is error 40014.
  virtual void RemoteHost(const std::string& host) = 0;
  virtual void RemotePort(std::int32_t port) = 0;

  // Starts to connect; error 40020 unless closed. A name that doesn't resolve or a peer that
  // refuses shows as kTcpError.
  virtual void Connect() = 0;

  // Sends a byte string; what the socket doesn't take at once is queued. Error 40006 unless
  // connected.
  virtual void SendData(const std::string& bytes) = 0;

  // Takes everything that has arrived; an empty string when there is nothing.
  virtual std::string GetData() = 0;

  // Closes the connection at once and forgets what was not taken; harmless in every state.
  virtual void Close() = 0;

  // Why the last Connect ended in kTcpError. The control doesn't ask; a client that can't tell
  // leaves it unknown.
  virtual ConnectFailure connect_failure() { return ConnectFailure::kUnknown; }
};

}  // namespace plexum
