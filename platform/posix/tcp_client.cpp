#include "platform/posix/tcp_client.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <utility>

#include "base/runtime_error.h"
#include "platform/portable/limits.h"

namespace plexum::posix {
namespace {

using Clock = EventLoop::Clock;

constexpr std::chrono::milliseconds kKnownFor{1};
constexpr std::size_t kChunk = std::size_t{16} << 10;  // of a receive
// Repetitions of an unanswered connection request: the client gives an address up after some
// 15 seconds and the host can try anew, where the system's default goes on for minutes with ever
// longer pauses.
constexpr int kConnectRepetitions = 3;

void set_option(int descriptor, int option, int value) {
  ::setsockopt(descriptor, IPPROTO_TCP, option, &value, sizeof value);
}

// An address in the form of IPv6, in which an IPv4 address has a place of its own.
in6_addr ip_of(const SocketAddress& address) {
  in6_addr ip{};
  if (address.storage.ss_family == AF_INET6) {
    sockaddr_in6 in6{};
    std::memcpy(&in6, &address.storage, sizeof in6);
    ip = in6.sin6_addr;
  } else {
    sockaddr_in in{};
    std::memcpy(&in, &address.storage, sizeof in);
    ip.s6_addr[10] = ip.s6_addr[11] = 0xFF;
    std::memcpy(&ip.s6_addr[12], &in.sin_addr, sizeof in.sin_addr);
  }
  return ip;
}

std::uint16_t port_of(const SocketAddress& address) {
  sockaddr_in in{};  // the port has the same place in both families
  static_assert(offsetof(sockaddr_in, sin_port) == offsetof(sockaddr_in6, sin6_port));
  std::memcpy(&in, &address.storage, sizeof in);
  return in.sin_port;
}

bool is_same_ip(const in6_addr& a, const in6_addr& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

// 0.0.0.0 or ::, which Linux would take for the machine itself.
bool is_unspecified(const SocketAddress& address) {
  static const in6_addr mapped = {{{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 0, 0, 0, 0}}};
  const in6_addr ip = ip_of(address);
  return is_same_ip(ip, in6addr_any) || is_same_ip(ip, mapped);
}

// A connection request to a port of the own machine on which nobody listens can meet itself, when
// the system picks that very port for it.
bool is_connected_to_itself(int descriptor, const SocketAddress& peer) {
  SocketAddress own;
  own.length = sizeof own.storage;
  auto* storage = reinterpret_cast<sockaddr*>(&own.storage);
  return ::getsockname(descriptor, storage, &own.length) == 0 && port_of(own) == port_of(peer) &&
         is_same_ip(ip_of(own), ip_of(peer));
}

ConnectFailure failure_of(int error) {
  if (error == ECONNREFUSED) return ConnectFailure::kRefused;
  if (error == ETIMEDOUT) return ConnectFailure::kTimeOut;
  return ConnectFailure::kUnreachable;
}

bool would_block(int error) { return error == EAGAIN || error == EWOULDBLOCK; }

}  // namespace

PosixTcpClient::PosixTcpClient(EventLoop& loop) : loop_(loop) {}

PosixTcpClient::~PosixTcpClient() { Close(); }

std::int16_t PosixTcpClient::State() {
  look_if_stale();
  return known_state();
}

std::int32_t PosixTcpClient::BytesReceived() {
  look_if_stale();
  return static_cast<std::int32_t>(inbound_.size());
}

void PosixTcpClient::RemoteHost(const std::string& host) { host_ = host; }

void PosixTcpClient::RemotePort(std::int32_t port) {
  if (port < 0 || port > 65535) throw RuntimeError(kTcpInvalidArgument);
  port_ = static_cast<std::uint16_t>(port);
}

void PosixTcpClient::Connect() {
  if (state_ != kTcpClosed) throw RuntimeError(kTcpInvalidOperation);
  connect_failure_ = ConnectFailure::kNoSuchHost;  // until there is an address to try
  if (host_.empty() || host_.find('\0') != std::string::npos) {
    state_ = kTcpError;
    return;
  }
  next_address_ = 0;
  addresses_ = resolve_literal(host_, port_);
  if (!addresses_.empty()) {
    try_addresses();
    return;
  }
  state_ = kTcpResolving;
  look_up_ = std::make_shared<std::monostate>();
  resolve_name(host_, port_, loop_.poster(),
               [this, wanted = std::weak_ptr(look_up_)](std::vector<SocketAddress> addresses) {
                 if (wanted.expired()) return;
                 look_up_.reset();
                 addresses_ = std::move(addresses);
                 try_addresses();
               });
}

void PosixTcpClient::SendData(const std::string& bytes) {
  if (known_state() != kTcpConnected) throw RuntimeError(kTcpWrongState);
  if (bytes.size() > portable::kOutboundLimit - unsent()) {
    throw RuntimeError(portable::kNoBufferSpace, "No buffer space is available");
  }
  const bool queue_was_empty = unsent() == 0;
  if (queue_was_empty && !bytes.empty()) {
    ssize_t count = 0;
    do {
      count = ::send(descriptor_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    } while (count < 0 && errno == EINTR);
    if (count == static_cast<ssize_t>(bytes.size())) return;
    if (count < 0 && !would_block(errno)) return fail_sending();
    outbound_.assign(bytes, count > 0 ? static_cast<std::size_t>(count) : 0);
    sent_ = 0;
  } else {
    outbound_ += bytes;
  }
  update_watch();
}

std::string PosixTcpClient::GetData() {
  look_if_stale();
  std::string taken = std::exchange(inbound_, {});
  if (taken.size() >= portable::kInboundLimit)
    stale_since_ = Clock::now();  // the system holds more
  update_watch();
  return taken;
}

void PosixTcpClient::Close() {
  look_up_.reset();
  drop_descriptor();
  addresses_.clear();
  inbound_ = {};
  outbound_ = {};
  sent_ = 0;
  send_failed_ = false;
  state_ = kTcpClosed;
}

void PosixTcpClient::look_if_stale() {
  if (watched_ == 0) return;  // nothing can change
  if (const short revents = loop_.take_ready(descriptor_.get()); revents != 0) {
    on_ready(revents);
    return;
  }
  const Clock::time_point known_at = std::max(known_at_, loop_.polled_at());
  if (known_at > stale_since_ && Clock::now() - known_at <= kKnownFor) return;
  if (state_ == kTcpConnecting) {
    look_at_connect();
  } else {
    receive(true);
  }
}

void PosixTcpClient::on_ready(short revents) {
  if (state_ == kTcpConnecting) {
    look_at_connect();
    return;
  }
  if ((revents & (POLLOUT | POLLERR | POLLHUP)) != 0) flush();
  if ((revents & ~POLLOUT) != 0) receive((revents & (POLLRDHUP | POLLERR | POLLHUP)) != 0);
}

// A descriptor from which nothing more is wanted leaves the poll set: the end of a connection
// would otherwise end every wait.
void PosixTcpClient::update_watch() {
  int wanted = 0;
  if (state_ == kTcpConnecting) wanted = POLLOUT;
  if (state_ == kTcpConnected && inbound_.size() < portable::kInboundLimit)
    wanted = POLLIN | POLLRDHUP;
  if (unsent() > 0) wanted |= POLLOUT;
  if (wanted == watched_) return;
  watched_ = static_cast<short>(wanted);
  if (wanted == 0) {
    loop_.unwatch(descriptor_.get());
  } else {
    loop_.watch(descriptor_.get(), watched_, [this](short revents) { on_ready(revents); });
  }
}

void PosixTcpClient::drop_descriptor() {
  if (std::exchange(watched_, short{0}) != 0) loop_.unwatch(descriptor_.get());
  descriptor_.reset();
}

// Starts to connect to the next address that allows it.
void PosixTcpClient::try_addresses() {
  while (next_address_ < addresses_.size()) {
    const SocketAddress& address = addresses_[next_address_++];
    if (is_unspecified(address)) continue;
    connect_failure_ = ConnectFailure::kUnreachable;
    descriptor_.reset(::socket(address.storage.ss_family,
                               SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, IPPROTO_TCP));
    if (!descriptor_) continue;
    set_option(descriptor_.get(), TCP_NODELAY, 1);
    set_option(descriptor_.get(), TCP_SYNCNT, kConnectRepetitions);
    state_ = kTcpConnecting;
    stale_since_ = Clock::now();
    if (::connect(descriptor_.get(), address.get(), address.length) == 0) return connected();
    // A near peer has answered already: then there is nothing to wait for.
    if (errno == EINPROGRESS || errno == EINTR) return look_at_connect();
    connect_failure_ = failure_of(errno);
  }
  descriptor_.reset();
  state_ = kTcpError;
}

// A second connect tells how the first one stands, in one system call.
void PosixTcpClient::look_at_connect() {
  const SocketAddress& address = addresses_[next_address_ - 1];
  if (::connect(descriptor_.get(), address.get(), address.length) == 0 || errno == EISCONN) {
    connected();
  } else if (errno == EALREADY || errno == EINPROGRESS || errno == EINTR) {
    known_at_ = Clock::now();
    update_watch();
  } else {
    connect_failure_ = failure_of(errno);
    drop_descriptor();
    try_addresses();
  }
}

void PosixTcpClient::connected() {
  if (is_connected_to_itself(descriptor_.get(), addresses_[next_address_ - 1])) {
    connect_failure_ = ConnectFailure::kRefused;  // nobody listens there
    drop_descriptor();
    return try_addresses();
  }
  state_ = kTcpConnected;
  known_at_ = Clock::now();
  update_watch();
}

// Takes what the system holds, up to the limit. A receive that gets less than it had room for has
// taken all bytes. Only one more receive would tell whether the connection has ended behind them;
// it is left out where the last wait has shown that it hasn't.
void PosixTcpClient::receive(bool may_have_ended) {
  std::array<char, kChunk> chunk;
  while (state_ == kTcpConnected && inbound_.size() < portable::kInboundLimit) {
    const std::size_t room = std::min(chunk.size(), portable::kInboundLimit - inbound_.size());
    const ssize_t count = ::recv(descriptor_.get(), chunk.data(), room, 0);
    if (count > 0) {
      inbound_.append(chunk.data(), static_cast<std::size_t>(count));
      if (static_cast<std::size_t>(count) < room && !may_have_ended) break;
    } else if (count == 0) {
      state_ = send_failed_ ? kTcpError : kTcpPeerClosing;
    } else if (would_block(errno)) {
      break;
    } else if (errno != EINTR) {
      state_ = kTcpError;
      outbound_.clear();
      sent_ = 0;
    }
  }
  known_at_ = Clock::now();
  update_watch();
}

// Sends what is queued, as far as the system takes it.
void PosixTcpClient::flush() {
  if (unsent() == 0) return;
  const ssize_t count = ::send(descriptor_.get(), outbound_.data() + sent_, unsent(), MSG_NOSIGNAL);
  if (count < 0) {
    if (!would_block(errno) && errno != EINTR) fail_sending();
    return;
  }
  sent_ += static_cast<std::size_t>(count);
  // The sent half goes at once, so that the queue's memory follows its length.
  if (sent_ >= outbound_.size() - sent_) {
    outbound_.erase(0, sent_);
    sent_ = 0;
  }
  update_watch();
}

// The peer has cut the connection; what it sent before is still there to be received.
void PosixTcpClient::fail_sending() {
  send_failed_ = true;
  outbound_ = {};
  sent_ = 0;
  receive(true);
  const bool more_to_receive = inbound_.size() >= portable::kInboundLimit;
  if (state_ == kTcpConnected && !more_to_receive) state_ = kTcpError;
  update_watch();
}

}  // namespace plexum::posix
