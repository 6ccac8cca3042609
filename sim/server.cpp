#include "sim/server.h"

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

namespace plexum::sim {
namespace {

constexpr int kBacklog = 128;
constexpr std::size_t kReceivedAtOnce = 4096;
// A client that sends jobs and takes no answers isn't read from beyond this.
constexpr std::size_t kMostQueued = 64;
constexpr std::chrono::milliseconds kOutOfDescriptorsPause{100};

[[noreturn]] void fail(int error, const std::string& what) {
  throw std::system_error(error, std::generic_category(), what);
}

void set_option(int descriptor, int level, int name, int value) {
  ::setsockopt(descriptor, level, name, &value, sizeof value);
}

struct AddressList {
  ~AddressList() {
    if (first != nullptr) ::freeaddrinfo(first);
  }
  addrinfo* first = nullptr;
};

// The errors of looking up an address.
class LookupErrors final : public std::error_category {
 public:
  const char* name() const noexcept override { return "getaddrinfo"; }
  std::string message(int error) const override { return ::gai_strerror(error); }
};

int listen_on(const std::string& address, std::uint16_t port) {
  const std::string where = "listening on " + address + " port " + std::to_string(port);
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_PASSIVE | AI_NUMERICSERV;
  AddressList found;
  const int failed =
      ::getaddrinfo(address.c_str(), std::to_string(port).c_str(), &hints, &found.first);
  if (failed == EAI_SYSTEM) fail(errno, where);
  if (failed != 0) {
    static const LookupErrors errors;
    throw std::system_error(failed, errors, where);
  }
  const addrinfo& chosen = *found.first;
  const int listener =
      ::socket(chosen.ai_family, chosen.ai_socktype | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (listener < 0) fail(errno, where);
  set_option(listener, SOL_SOCKET, SO_REUSEADDR, 1);
  if (::bind(listener, chosen.ai_addr, chosen.ai_addrlen) != 0 ||
      ::listen(listener, kBacklog) != 0) {
    const int error = errno;
    ::close(listener);
    fail(error, where);
  }
  return listener;
}

}  // namespace

struct Server::Connection {
  Connection(Id own_id, int socket, Plc& plc) : id(own_id), descriptor(socket), session(plc) {}

  const Id id;
  const int descriptor;
  Session session;
  std::deque<Output> queue;  // the first one's delay runs, unless bytes of the last one are unsent
  std::optional<posix::EventLoop::TimerId> timer;
  Bytes unsent;
  Output::End end = Output::End::kNone;  // what follows the unsent bytes
  bool peer_finished = false;
  short watched = 0;  // the events that the loop watches for
};

Server::Server(posix::EventLoop& loop, Plc& plc)
    : loop_(loop), plc_(plc), listener_(listen_on(plc.options.listen, plc.options.port)) {
  watch_listener();
}

Server::~Server() {
  while (!connections_.empty()) close(*connections_.begin()->second, Output::End::kClose);
  if (pause_) {
    loop_.cancel_timer(*pause_);
  } else {
    loop_.unwatch(listener_);
  }
  ::close(listener_);
}

std::uint16_t Server::port() const {
  sockaddr_storage address{};
  socklen_t length = sizeof address;
  ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length);
  if (address.ss_family == AF_INET6) {
    return ntohs(reinterpret_cast<const sockaddr_in6&>(address).sin6_port);
  }
  return ntohs(reinterpret_cast<const sockaddr_in&>(address).sin_port);
}

void Server::watch_listener() {
  loop_.watch(listener_, POLLIN, [this](short) { accept_connections(); });
}

void Server::accept_connections() {
  for (;;) {
    const int descriptor = ::accept4(listener_, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (descriptor < 0 && (errno == EINTR || errno == ECONNABORTED)) continue;
    if (descriptor < 0) {
      const bool out_of_descriptors =
          errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM;
      if (!out_of_descriptors) return;
      // The listener stays readable; asking it again and again would only burn the processor.
      loop_.unwatch(listener_);
      pause_ = loop_.add_timer(kOutOfDescriptorsPause, [this] {
        pause_.reset();
        watch_listener();
      });
      return;
    }
    if (connections_.size() >= Options::kMostConnections) {
      ::close(descriptor);
      continue;
    }
    set_option(descriptor, IPPROTO_TCP, TCP_NODELAY, 1);
    const Id id = next_id_++;
    Connection& connection =
        *connections_.emplace(id, std::make_unique<Connection>(id, descriptor, plc_)).first->second;
    update_watch(connection);
    Outputs outputs;
    {
      const std::lock_guard held(plc_.lock);
      outputs = connection.session.accepted();
    }
    enqueue(connection, std::move(outputs));
    send_due(id);
  }
}

Server::Connection* Server::find(Id id) {
  const auto found = connections_.find(id);
  return found == connections_.end() ? nullptr : found->second.get();
}

void Server::on_ready(Id id) {
  Connection* connection = find(id);
  if (connection == nullptr) return;
  if (!connection->peer_finished && connection->queue.size() < kMostQueued) receive(*connection);
  send_due(id);
}

void Server::receive(Connection& connection) {
  std::array<std::uint8_t, kReceivedAtOnce> buffer;
  const ssize_t received = ::recv(connection.descriptor, buffer.data(), buffer.size(), 0);
  if (received > 0) {
    Outputs outputs;
    {
      const std::lock_guard held(plc_.lock);
      outputs =
          connection.session.receive(ByteView(buffer).first(static_cast<std::size_t>(received)));
    }
    enqueue(connection, std::move(outputs));
    return;
  }
  if (received < 0 && (errno == EAGAIN || errno == EINTR)) return;
  connection.peer_finished = true;
  if (received < 0) {
    connection.queue.clear();
    connection.unsent.clear();
  }
}

void Server::enqueue(Connection& connection, Outputs outputs) {
  std::move(outputs.begin(), outputs.end(), std::back_inserter(connection.queue));
}

// Sends what is due and closes what has ended; what isn't due yet gets its timer.
void Server::send_due(Id id) {
  Connection* const found = find(id);
  if (found == nullptr) return;
  Connection& connection = *found;
  while (send_bytes(connection) && connection.end == Output::End::kNone && !connection.timer &&
         !connection.queue.empty()) {
    Output& next = connection.queue.front();
    if (next.delay.count() > 0) {
      connection.timer = loop_.add_timer(std::exchange(next.delay, {}), [this, id] {
        if (Connection* waiting = find(id)) waiting->timer.reset();
        send_due(id);
      });
      break;
    }
    connection.unsent = std::move(next.bytes);
    connection.end = next.end;
    connection.queue.pop_front();
  }
  const bool sent = connection.unsent.empty();
  if (sent && connection.end != Output::End::kNone) return close(connection, connection.end);
  if (sent && connection.queue.empty() && connection.peer_finished) {
    return close(connection, Output::End::kClose);
  }
  update_watch(connection);
}

// Whether all bytes of the last output are with the system.
bool Server::send_bytes(Connection& connection) {
  while (!connection.unsent.empty()) {
    const ssize_t sent = ::send(connection.descriptor, connection.unsent.data(),
                                connection.unsent.size(), MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) continue;
    if (sent < 0 && errno == EAGAIN) return false;
    if (sent < 0) {  // the peer is gone
      connection.unsent.clear();
      connection.queue.clear();
      connection.peer_finished = true;
      return true;
    }
    connection.unsent.erase(connection.unsent.begin(), connection.unsent.begin() + sent);
  }
  return true;
}

void Server::update_watch(Connection& connection) {
  short events = 0;
  if (!connection.peer_finished && connection.queue.size() < kMostQueued) events |= POLLIN;
  if (!connection.unsent.empty()) events |= POLLOUT;
  if (events == connection.watched) return;
  connection.watched = events;
  if (events == 0) {
    // Only a timer is awaited; a hang-up would be reported over and over until then.
    loop_.unwatch(connection.descriptor);
  } else {
    loop_.watch(connection.descriptor, events, [this, id = connection.id](short) { on_ready(id); });
  }
}

void Server::close(Connection& connection, Output::End how) {
  if (connection.timer) loop_.cancel_timer(*connection.timer);
  if (connection.watched != 0) loop_.unwatch(connection.descriptor);
  if (how == Output::End::kReset) {
    const linger at_once{1, 0};
    ::setsockopt(connection.descriptor, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
  }
  ::close(connection.descriptor);
  connections_.erase(connection.id);
}

}  // namespace plexum::sim
