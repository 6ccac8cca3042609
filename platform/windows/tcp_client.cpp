#include "platform/windows/tcp_client.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "base/runtime_error.h"
#include "platform/portable/limits.h"
#include "platform/windows/code_page.h"

namespace plexum::windows {
namespace {

constexpr UINT kSocketMessage = WM_APP;
constexpr UINT kResolvedMessage = WM_APP + 1;

// Winsock counts in int, and copies what it queues.
constexpr std::size_t kMostSentAtOnce = std::size_t{1} << 20;

enum class Outcome { kPending, kConnected, kFailed };

// How the connection attempt of a non-blocking socket stands.
Outcome outcome_of_connect(SOCKET socket) {
  fd_set writable;
  fd_set failed;
  FD_ZERO(&writable);
  FD_ZERO(&failed);
  FD_SET(socket, &writable);
  FD_SET(socket, &failed);
  timeval no_time{};
  if (select(0, nullptr, &writable, &failed, &no_time) == 0) return Outcome::kPending;
  return FD_ISSET(socket, &failed) ? Outcome::kFailed : Outcome::kConnected;
}

// Why the connection attempt of a socket has failed.
int error_of_connect(SOCKET socket) {
  int error = 0;
  int size = sizeof error;
  getsockopt(socket, SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&error), &size);
  return error;
}

ConnectFailure failure_of(int error) {
  if (error == WSAECONNREFUSED) return ConnectFailure::kRefused;
  if (error == WSAETIMEDOUT) return ConnectFailure::kTimeOut;
  return ConnectFailure::kUnreachable;
}

// 0.0.0.0 or ::, which means no particular host.
bool is_unspecified(const SocketAddress& address) {
  if (address.family() == AF_INET) {
    sockaddr_in in{};
    std::memcpy(&in, &address.storage, sizeof in);
    return in.sin_addr.s_addr == 0;
  }
  sockaddr_in6 in6{};
  std::memcpy(&in6, &address.storage, sizeof in6);
  return IN6_IS_ADDR_UNSPECIFIED(&in6.sin6_addr);
}

// A connection request to a port of the own machine on which nobody listens can meet itself, when
// the system picks that very port for it.
bool is_connected_to_itself(SOCKET socket) {
  SocketAddress own;
  SocketAddress peer;
  own.length = peer.length = sizeof own.storage;
  return getsockname(socket, own.get(), &own.length) == 0 &&
         getpeername(socket, peer.get(), &peer.length) == 0 && own.length == peer.length &&
         std::memcmp(&own.storage, &peer.storage, static_cast<std::size_t>(own.length)) == 0;
}

// A non-blocking socket that tells `window` what happens to it; INVALID_SOCKET on failure.
SOCKET open_socket(int family, HWND window) {
  Socket socket(WSASocketW(family, SOCK_STREAM, IPPROTO_TCP, nullptr, 0, WSA_FLAG_OVERLAPPED));
  if (!socket.is_open()) return INVALID_SOCKET;
  // A program that the host starts would otherwise keep the connection open.
  SetHandleInformation(reinterpret_cast<HANDLE>(socket.get()), HANDLE_FLAG_INHERIT, 0);
  const BOOL on = TRUE;
  setsockopt(socket.get(), IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on), sizeof on);
  if (WSAAsyncSelect(socket.get(), window, kSocketMessage, FD_CONNECT | FD_WRITE) != 0) {
    return INVALID_SOCKET;
  }
  return socket.release();
}

}  // namespace

std::int16_t BuiltInTcpClient::State() {
  if (inbound_.empty()) look();
  if (!inbound_.empty()) return kTcpConnected;
  return state_ == kTcpConnected && peer_closed_ ? kTcpPeerClosing : state_;
}

std::int32_t BuiltInTcpClient::BytesReceived() {
  look();
  return static_cast<std::int32_t>(inbound_.size());
}

void BuiltInTcpClient::RemotePort(std::int32_t port) {
  if (port < 0 || port > 65535) throw RuntimeError(kTcpInvalidArgument);
  port_ = port;
}

void BuiltInTcpClient::Connect() {
  if (State() != kTcpClosed) throw RuntimeError(kTcpInvalidOperation);
  connect_failure_ = ConnectFailure::kNoSuchHost;  // until there is an address to try
  if (window_ == nullptr) {
    window_ = std::make_unique<MessageWindow>([this](UINT, WPARAM, LPARAM) { look(); });
  }
  const std::wstring host = utf16_from_utf8(host_);
  // To the resolver an empty name is this machine, and a name ends at a NUL.
  if (host.empty() || host.find(L'\0') != std::wstring::npos) return fail();
  next_address_ = 0;
  addresses_ = resolve_literal(host, port_);
  if (!addresses_.empty()) return try_addresses();
  state_ = kTcpResolving;
  look_up_ = std::make_unique<NameLookUp>(host, port_, window_->handle(), kResolvedMessage);
}

void BuiltInTcpClient::SendData(const std::string& bytes) {
  if (State() != kTcpConnected) throw RuntimeError(kTcpWrongState);
  // The connection broke behind bytes that were not taken yet; once they are, State tells.
  if (state_ != kTcpConnected || send_failed_) return;
  if (bytes.size() > portable::kOutboundLimit - outbound_.size()) {
    throw RuntimeError(portable::kNoBufferSpace, "No buffer space is available");
  }
  // One telegram is one send, so that it is one segment; only what the socket refuses is kept.
  const std::size_t sent = outbound_.empty() ? send(bytes.data(), bytes.size()) : 0;
  if (!send_failed_) outbound_.append(bytes, sent);
}

std::string BuiltInTcpClient::GetData() {
  look();
  std::string taken = std::exchange(inbound_, {});
  if (state_ == kTcpConnected) receive_more();  // it may have been full
  return taken;
}

void BuiltInTcpClient::Close() {
  look_up_.reset();
  reception_.reset();
  socket_.close();
  addresses_.clear();
  inbound_.clear();
  outbound_.clear();
  peer_closed_ = false;
  send_failed_ = false;
  state_ = kTcpClosed;
}

void BuiltInTcpClient::look() {
  if (state_ == kTcpResolving) look_at_look_up();
  if (state_ == kTcpConnecting) look_at_connect();
  if (state_ == kTcpConnected) flush();
  if (state_ == kTcpConnected) receive();
}

void BuiltInTcpClient::look_at_look_up() {
  if (!look_up_->done()) return;
  addresses_ = look_up_->addresses();
  look_up_.reset();
  try_addresses();
}

void BuiltInTcpClient::look_at_connect() {
  switch (outcome_of_connect(socket_.get())) {
    case Outcome::kPending:
      break;
    case Outcome::kConnected:
      connected();
      break;
    case Outcome::kFailed:
      connect_failure_ = failure_of(error_of_connect(socket_.get()));
      try_addresses();
      break;
  }
}

void BuiltInTcpClient::try_addresses() {
  while (next_address_ < addresses_.size()) {
    const SocketAddress& address = addresses_[next_address_++];
    if (is_unspecified(address)) continue;
    connect_failure_ = ConnectFailure::kUnreachable;
    socket_.reset(open_socket(address.family(), window_->handle()));
    if (!socket_.is_open()) continue;
    if (connect(socket_.get(), address.get(), address.length) == 0 ||
        WSAGetLastError() == WSAEWOULDBLOCK) {
      state_ = kTcpConnecting;
      return;
    }
    connect_failure_ = failure_of(WSAGetLastError());
  }
  fail();
}

void BuiltInTcpClient::connected() {
  if (is_connected_to_itself(socket_.get())) {
    connect_failure_ = ConnectFailure::kRefused;  // nobody listens there
    return try_addresses();
  }
  state_ = kTcpConnected;
  reception_ = std::make_unique<Reception>(socket_.get());
  receive_more();
}

void BuiltInTcpClient::take(const Reception::Arrival& arrival) {
  if (arrival.state == Reception::State::kBytes) inbound_ += arrival.bytes;
  if (arrival.state == Reception::State::kEnd) peer_closed_ = true;
  if (arrival.state == Reception::State::kLost) fail();
}

// Takes what has arrived, up to the limit.
void BuiltInTcpClient::receive() {
  while (state_ == kTcpConnected) {
    const Reception::Arrival arrival = reception_->take();
    if (arrival.state == Reception::State::kNothing) return;
    take(arrival);
    receive_more();
  }
}

// Has a receive under way wherever there is room for more.
void BuiltInTcpClient::receive_more() {
  if (state_ != kTcpConnected || peer_closed_ || reception_->under_way()) return;
  const std::size_t room = portable::kInboundLimit - inbound_.size();
  if (room > 0 && !reception_->start(room)) fail();
}

void BuiltInTcpClient::flush() {
  if (outbound_.empty()) return;
  const std::size_t sent = send(outbound_.data(), outbound_.size());
  if (sent < outbound_.size()) {
    outbound_.erase(0, sent);
  } else {
    outbound_.clear();
  }
}

std::size_t BuiltInTcpClient::send(const char* bytes, std::size_t size) {
  std::size_t sent = 0;
  while (sent < size && !send_failed_) {
    const std::size_t piece = std::min(size - sent, kMostSentAtOnce);
    const int count = ::send(socket_.get(), bytes + sent, static_cast<int>(piece), 0);
    if (count >= 0) {
      sent += static_cast<std::size_t>(count);
    } else if (WSAGetLastError() == WSAEWOULDBLOCK) {
      break;
    } else {
      fail_sending();
    }
  }
  return sent;
}

// The peer has cut the connection; what it sent before may still be there to be received.
void BuiltInTcpClient::fail_sending() {
  send_failed_ = true;
  outbound_.clear();
  receive();
  if (state_ != kTcpConnected) return;
  take(reception_->stop());
  const bool more_to_receive = inbound_.size() >= portable::kInboundLimit;
  if (state_ == kTcpConnected && !more_to_receive) fail();
}

void BuiltInTcpClient::fail() {
  reception_.reset();
  socket_.close();
  outbound_.clear();
  state_ = kTcpError;
}

}  // namespace plexum::windows
