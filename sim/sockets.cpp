#include "sim/sockets.h"

#ifdef _WIN32
#include "platform/windows/winsock.h"
//
#include <mstcpip.h>
#else
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#endif

#include <algorithm>
#include <iterator>
#include <system_error>

namespace plexum::sim {
namespace {

constexpr int kBacklog = 128;

// A client that has vanished without a word is noticed by keep-alive: the first probe after so many
// seconds of silence, then one every so many, and after so many without an answer it is gone.
constexpr int kKeepAliveIdle = 30;
constexpr int kKeepAliveInterval = 10;
[[maybe_unused]] constexpr int kKeepAliveProbes = 3;  // Windows has its own number

template <typename Option>
void set_option(Socket socket, int level, int name, const Option& value) {
  ::setsockopt(socket, level, name, reinterpret_cast<const char*>(&value), sizeof value);
}

#ifdef _WIN32

using Length = int;
constexpr Socket kNoSocket = INVALID_SOCKET;
// Here SO_REUSEADDR would share the port with whoever has it.
constexpr int kListenerOption = SO_EXCLUSIVEADDRUSE;

constexpr int kInterrupted = WSAEINTR;
constexpr int kWouldBlock = WSAEWOULDBLOCK;
constexpr int kGoneBeforeAccept = WSAECONNRESET;
constexpr int kShortages[] = {WSAEMFILE, WSAENOBUFS};

int last_error() { return WSAGetLastError(); }
std::error_code code_of(int error) { return {error, std::system_category()}; }
std::error_code code_of_look_up(int failed) { return code_of(failed); }

Socket prepared(Socket socket) {
  if (socket == kNoSocket) return socket;
  u_long on = 1;
  ::ioctlsocket(socket, static_cast<long>(FIONBIO), &on);
  SetHandleInformation(reinterpret_cast<HANDLE>(socket), HANDLE_FLAG_INHERIT, 0);
  return socket;
}

Socket open_socket(int family) { return prepared(::socket(family, SOCK_STREAM, IPPROTO_TCP)); }
Socket accept_socket(Socket listener) { return prepared(::accept(listener, nullptr, nullptr)); }

std::ptrdiff_t receive_bytes(Socket socket, std::span<std::uint8_t> buffer) {
  return ::recv(socket, reinterpret_cast<char*>(buffer.data()), static_cast<int>(buffer.size()), 0);
}

std::ptrdiff_t send_bytes(Socket socket, ByteView bytes) {
  return ::send(socket, reinterpret_cast<const char*>(bytes.data()), static_cast<int>(bytes.size()),
                0);
}

int close_native(Socket socket) { return ::closesocket(socket); }

void keep_alive(Socket socket) {
  tcp_keepalive values{1, 1000 * kKeepAliveIdle, 1000 * kKeepAliveInterval};
  DWORD returned = 0;
  ::WSAIoctl(socket, SIO_KEEPALIVE_VALS, &values, sizeof values, nullptr, 0, &returned, nullptr,
             nullptr);
}

#else

using Length = socklen_t;
constexpr Socket kNoSocket = -1;
constexpr int kListenerOption = SO_REUSEADDR;

constexpr int kInterrupted = EINTR;
constexpr int kWouldBlock = EAGAIN;
constexpr int kGoneBeforeAccept = ECONNABORTED;
constexpr int kShortages[] = {EMFILE, ENFILE, ENOBUFS, ENOMEM};

int last_error() { return errno; }
std::error_code code_of(int error) { return {error, std::generic_category()}; }

// The errors of looking up an address.
class LookupErrors final : public std::error_category {
 public:
  const char* name() const noexcept override { return "getaddrinfo"; }
  std::string message(int error) const override { return ::gai_strerror(error); }
};

std::error_code code_of_look_up(int failed) {
  static const LookupErrors errors;
  if (failed == EAI_SYSTEM) return code_of(errno);
  return {failed, errors};
}

Socket open_socket(int family) {
  return ::socket(family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, IPPROTO_TCP);
}

Socket accept_socket(Socket listener) {
  return ::accept4(listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
}

std::ptrdiff_t receive_bytes(Socket socket, std::span<std::uint8_t> buffer) {
  return ::recv(socket, buffer.data(), buffer.size(), 0);
}

std::ptrdiff_t send_bytes(Socket socket, ByteView bytes) {
  return ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

int close_native(Socket socket) { return ::close(socket); }

void keep_alive(Socket socket) {
  set_option(socket, SOL_SOCKET, SO_KEEPALIVE, 1);
  set_option(socket, IPPROTO_TCP, TCP_KEEPIDLE, kKeepAliveIdle);
  set_option(socket, IPPROTO_TCP, TCP_KEEPINTVL, kKeepAliveInterval);
  set_option(socket, IPPROTO_TCP, TCP_KEEPCNT, kKeepAliveProbes);
}

#endif

struct AddressList {
  ~AddressList() {
    if (first != nullptr) ::freeaddrinfo(first);
  }
  addrinfo* first = nullptr;
};

// What a call has moved that is repeated until nothing disturbs it.
template <typename Call>
Moved moved(Call call) {
  for (;;) {
    const std::ptrdiff_t count = call();
    if (count >= 0) return {Outcome::kDone, static_cast<std::size_t>(count)};
    const int error = last_error();
    if (error == kWouldBlock) return {Outcome::kNotNow, 0};
    if (error != kInterrupted) return {Outcome::kFailed, 0};
  }
}

}  // namespace

const short kReadable = POLLIN;
const short kWritable = POLLOUT;

Socket listen_on(const std::string& address, std::uint16_t port) {
  const std::string where = "listening on " + address + " port " + std::to_string(port);
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_PASSIVE | AI_NUMERICSERV;
  AddressList found;
  const int failed =
      ::getaddrinfo(address.c_str(), std::to_string(port).c_str(), &hints, &found.first);
  if (failed != 0) throw std::system_error(code_of_look_up(failed), where);
  const addrinfo& chosen = *found.first;
  const Socket listener = open_socket(chosen.ai_family);
  if (listener == kNoSocket) throw std::system_error(code_of(last_error()), where);
  set_option(listener, SOL_SOCKET, kListenerOption, 1);
  if (::bind(listener, chosen.ai_addr, static_cast<Length>(chosen.ai_addrlen)) != 0 ||
      ::listen(listener, kBacklog) != 0) {
    const int error = last_error();
    close_socket(listener);
    throw std::system_error(code_of(error), where);
  }
  return listener;
}

std::uint16_t port_of(Socket listener) {
  sockaddr_storage address{};
  Length length = sizeof address;
  ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length);
  if (address.ss_family == AF_INET6) {
    return ntohs(reinterpret_cast<const sockaddr_in6&>(address).sin6_port);
  }
  return ntohs(reinterpret_cast<const sockaddr_in&>(address).sin_port);
}

Accepted accept_from(Socket listener) {
  for (;;) {
    const Socket socket = accept_socket(listener);
    if (socket != kNoSocket) {
      set_option(socket, IPPROTO_TCP, TCP_NODELAY, 1);
      keep_alive(socket);
      return {Outcome::kDone, socket};
    }
    const int error = last_error();
    if (error == kInterrupted || error == kGoneBeforeAccept) continue;
    const bool shortage =
        std::find(std::begin(kShortages), std::end(kShortages), error) != std::end(kShortages);
    return {shortage ? Outcome::kFailed : Outcome::kNotNow, kNoSocket};
  }
}

Moved receive_from(Socket socket, std::span<std::uint8_t> buffer) {
  return moved([&] { return receive_bytes(socket, buffer); });
}

Moved send_to(Socket socket, ByteView bytes) {
  return moved([&] { return send_bytes(socket, bytes); });
}

void close_socket(Socket socket) { close_native(socket); }

void reset_socket(Socket socket) {
  set_option(socket, SOL_SOCKET, SO_LINGER, linger{1, 0});
  close_native(socket);
}

}  // namespace plexum::sim
