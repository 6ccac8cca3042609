#include "support/tcp_peer.h"

#include <algorithm>
#include <cerrno>

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
using Size = int;
using Length = int;
constexpr int kQuiet = 0;
constexpr int kSending = SD_SEND;
constexpr int kWouldBlock = WSAEWOULDBLOCK;
constexpr int kReset = WSAECONNRESET;

struct Winsock {
  Winsock() {
    WSADATA data{};
    WSAStartup(MAKEWORD(2, 2), &data);
  }
  ~Winsock() { WSACleanup(); }
};
const Winsock winsock;

int last_error() { return WSAGetLastError(); }
int poll(pollfd* descriptor, ULONG count, int milliseconds) {
  return WSAPoll(descriptor, count, milliseconds);
}
int close_socket(NativeSocket socket) { return closesocket(socket); }
void make_non_blocking(NativeSocket socket) {
  u_long on = 1;
  ioctlsocket(socket, static_cast<long>(FIONBIO), &on);
}
#else
using NativeSocket = int;
using Size = std::size_t;
using Length = socklen_t;
constexpr int kQuiet = MSG_NOSIGNAL;
constexpr int kSending = SHUT_WR;
constexpr int kWouldBlock = EAGAIN;
constexpr int kReset = ECONNRESET;

int last_error() { return errno; }
int close_socket(NativeSocket socket) { return ::close(socket); }
using ::poll;
void make_non_blocking(NativeSocket socket) { ::fcntl(socket, F_SETFL, O_NONBLOCK); }
#endif

// A test whose client never does what is waited for fails instead of hanging.
constexpr int kLongestWait = 20'000;  // milliseconds

void check(bool succeeded, const char* what) {
  if (!succeeded) throw std::runtime_error(what + (": " + std::to_string(last_error())));
}

NativeSocket native(std::intptr_t descriptor) { return static_cast<NativeSocket>(descriptor); }

void await(std::intptr_t descriptor, short event) {
  pollfd one{};
  one.fd = native(descriptor);
  one.events = event;
  check(poll(&one, 1, kLongestWait) == 1, "waiting");
}

// How many bytes a send or receive has moved; none where it would have had to wait.
std::size_t moved(std::intptr_t count) {
  if (count < 0 && last_error() == kReset) throw TcpEnd::Reset("reset");
  check(count >= 0 || last_error() == kWouldBlock, "send or receive");
  return static_cast<std::size_t>(std::max<std::intptr_t>(count, 0));
}

}  // namespace

TcpVisitor::TcpVisitor(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  connection_ = static_cast<Descriptor>(::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
  check(connection_ != kNone, "socket");
  check(::connect(native(connection_), reinterpret_cast<const sockaddr*>(&address),
                  sizeof address) == 0,
        "connect");
  make_non_blocking(native(connection_));
}

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

TcpPeer::~TcpPeer() { close_descriptor(listener_); }

void TcpPeer::accept() {
  close_descriptor(connection_);
  await(listener_, POLLIN);
  connection_ = static_cast<Descriptor>(::accept(native(listener_), nullptr, nullptr));
  check(connection_ != kNone, "accept");
  make_non_blocking(native(connection_));
}

std::size_t TcpEnd::send_some(const std::string& bytes) {
  return moved(::send(native(connection_), bytes.data(), static_cast<Size>(bytes.size()), kQuiet));
}

void TcpEnd::send(const std::string& bytes) {
  std::size_t sent = 0;
  while (sent < bytes.size()) {
    await(connection_, POLLOUT);
    sent += send_some(bytes.substr(sent));
  }
}

std::string TcpEnd::receive_some(std::size_t size) {
  std::string bytes(size, '\0');
  bytes.resize(moved(::recv(native(connection_), bytes.data(), static_cast<Size>(size), 0)));
  return bytes;
}

std::string TcpEnd::receive(std::size_t size) {
  std::string bytes;
  while (bytes.size() < size) {
    await(connection_, POLLIN);
    const std::string piece = receive_some(size - bytes.size());
    if (piece.empty()) break;
    bytes += piece;
  }
  return bytes;
}

void TcpEnd::finish() { ::shutdown(native(connection_), kSending); }

void TcpEnd::close() { close_descriptor(connection_); }

void TcpEnd::reset() {
  linger drop{};
  drop.l_onoff = 1;  // with a limit of 0 seconds: closing drops what is unsent, and resets
  ::setsockopt(native(connection_), SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&drop),
               sizeof drop);
  close_descriptor(connection_);
}

void TcpPeer::stop_listening() { close_descriptor(listener_); }

void TcpEnd::close_descriptor(Descriptor& descriptor) {
  if (descriptor != kNone) close_socket(native(descriptor));
  descriptor = kNone;
}

}  // namespace plexum::test
