#include "support/tcp_peer.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#ifdef _WIN32
#include <winsock2.h>
//
#include <ws2tcpip.h>
#else
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#endif

namespace plexum::test {
namespace {

#ifdef _WIN32
using NativeSocket = SOCKET;
using Length = int;
constexpr int kQuiet = 0;

struct Winsock {
  Winsock() {
    WSADATA data{};
    WSAStartup(MAKEWORD(2, 2), &data);
  }
  ~Winsock() { WSACleanup(); }
};
const Winsock winsock;

int close_native(NativeSocket socket) { return closesocket(socket); }
int last_error() { return WSAGetLastError(); }
bool would_block() { return WSAGetLastError() == WSAEWOULDBLOCK; }
int poll_native(NativeSocket socket, short events, int milliseconds) {
  WSAPOLLFD one{};
  one.fd = socket;
  one.events = events;
  return WSAPoll(&one, 1, milliseconds);
}
void make_non_blocking(NativeSocket socket) {
  u_long on = 1;
  ioctlsocket(socket, static_cast<long>(FIONBIO), &on);
}
#else
using NativeSocket = int;
using Length = socklen_t;
constexpr int kQuiet = MSG_NOSIGNAL;

int close_native(NativeSocket socket) { return ::close(socket); }
int last_error() { return errno; }
bool would_block() { return errno == EAGAIN || errno == EWOULDBLOCK; }
int poll_native(NativeSocket socket, short events, int milliseconds) {
  pollfd one{socket, events, 0};
  return ::poll(&one, 1, milliseconds);
}
void make_non_blocking(NativeSocket socket) { ::fcntl(socket, F_SETFL, O_NONBLOCK); }
#endif

// A test whose client never does what is waited for fails instead of hanging.
constexpr int kLongestWait = 20'000;  // milliseconds

[[noreturn]] void fail(const char* what) {
  throw std::runtime_error(std::string(what) + ": " + std::to_string(last_error()));
}

void check(bool succeeded, const char* what) {
  if (!succeeded) fail(what);
}

NativeSocket native(std::intptr_t descriptor) { return static_cast<NativeSocket>(descriptor); }

}  // namespace

bool TcpPeer::has_ipv6() {
  try {
    const TcpPeer peer(Family::kIpv6);
    return true;
  } catch (const std::runtime_error&) {
    return false;
  }
}

TcpPeer::TcpPeer(Family family) {
  sockaddr_storage address{};
  Length length = 0;
  if (family == Family::kIpv4) {
    auto* ipv4 = reinterpret_cast<sockaddr_in*>(&address);
    ipv4->sin_family = AF_INET;
    ipv4->sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    length = sizeof *ipv4;
  } else {
    auto* ipv6 = reinterpret_cast<sockaddr_in6*>(&address);
    ipv6->sin6_family = AF_INET6;
    ipv6->sin6_addr.s6_addr[15] = 1;
    length = sizeof *ipv6;
  }
  auto* generic = reinterpret_cast<sockaddr*>(&address);
  listener_ = static_cast<Descriptor>(::socket(generic->sa_family, SOCK_STREAM, IPPROTO_TCP));
  check(listener_ != kNone, "socket");
  check(::bind(native(listener_), generic, length) == 0, "bind");
  check(::listen(native(listener_), 8) == 0, "listen");
  check(::getsockname(native(listener_), generic, &length) == 0, "getsockname");
  port_ = ntohs(family == Family::kIpv4 ? reinterpret_cast<sockaddr_in*>(&address)->sin_port
                                        : reinterpret_cast<sockaddr_in6*>(&address)->sin6_port);
}

TcpPeer::~TcpPeer() {
  close_descriptor(connection_);
  close_descriptor(listener_);
}

void TcpPeer::accept() {
  close_descriptor(connection_);
  check(poll_native(native(listener_), POLLIN, kLongestWait) == 1, "waiting for a connection");
  connection_ = static_cast<Descriptor>(::accept(native(listener_), nullptr, nullptr));
  check(connection_ != kNone, "accept");
  make_non_blocking(native(connection_));
}

std::intptr_t TcpPeer::send_now(const char* bytes, std::size_t size) {
#ifdef _WIN32
  return ::send(native(connection_), bytes, static_cast<int>(size), kQuiet);
#else
  return ::send(native(connection_), bytes, size, kQuiet);
#endif
}

std::size_t TcpPeer::send_some(const std::string& bytes) {
  const std::intptr_t sent = send_now(bytes.data(), bytes.size());
  if (sent >= 0) return static_cast<std::size_t>(sent);
  check(would_block(), "send");
  return 0;
}

void TcpPeer::send(const std::string& bytes) {
  std::size_t sent = 0;
  while (sent < bytes.size()) {
    check(poll_native(native(connection_), POLLOUT, kLongestWait) == 1, "waiting to send");
    const std::intptr_t count = send_now(bytes.data() + sent, bytes.size() - sent);
    check(count >= 0 || would_block(), "send");
    sent += static_cast<std::size_t>(std::max<std::intptr_t>(count, 0));
  }
}

std::intptr_t TcpPeer::receive_now(char* bytes, std::size_t size) {
#ifdef _WIN32
  return ::recv(native(connection_), bytes, static_cast<int>(size), 0);
#else
  return ::recv(native(connection_), bytes, size, 0);
#endif
}

std::string TcpPeer::receive_some(std::size_t size) {
  std::string bytes(size, '\0');
  const std::intptr_t count = receive_now(bytes.data(), size);
  check(count >= 0 || would_block(), "receive");
  bytes.resize(static_cast<std::size_t>(std::max<std::intptr_t>(count, 0)));
  return bytes;
}

std::string TcpPeer::receive(std::size_t size) {
  std::string bytes(size, '\0');
  std::size_t received = 0;
  while (received < size) {
    check(poll_native(native(connection_), POLLIN, kLongestWait) == 1, "waiting to receive");
    const std::intptr_t count = receive_now(bytes.data() + received, size - received);
    check(count >= 0, "receive");
    if (count == 0) break;
    received += static_cast<std::size_t>(count);
  }
  bytes.resize(received);
  return bytes;
}

void TcpPeer::finish() {
#ifdef _WIN32
  ::shutdown(native(connection_), SD_SEND);
#else
  ::shutdown(native(connection_), SHUT_WR);
#endif
}

void TcpPeer::close() { close_descriptor(connection_); }

void TcpPeer::reset() {
  linger drop{};
  drop.l_onoff = 1;  // and 0 seconds
  ::setsockopt(native(connection_), SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&drop),
               sizeof drop);
  close_descriptor(connection_);
}

void TcpPeer::stop_listening() { close_descriptor(listener_); }

void TcpPeer::close_descriptor(Descriptor& descriptor) {
  if (descriptor != kNone) close_native(native(descriptor));
  descriptor = kNone;
}

}  // namespace plexum::test
