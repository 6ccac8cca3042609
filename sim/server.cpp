#include "sim/server.h"

#include <array>
#include <iterator>
#include <utility>

#include "sim/sockets.h"

namespace plexum::sim {
namespace {

constexpr std::size_t kReceivedAtOnce = 4096;
// A client that sends jobs and takes no answers isn't read from beyond this.
constexpr std::size_t kMostQueued = 64;
constexpr std::chrono::milliseconds kOutOfSocketsPause{100};

}  // namespace

struct Server::Connection {
  Connection(Id own_id, Socket own_socket, Plc& plc)
      : id(own_id), socket(own_socket), session(plc) {}

  const Id id;
  const Socket socket;
  Session session;
  std::deque<Output> queue;  // the first one's delay runs, unless bytes of the last one are unsent
  std::optional<EventLoop::TimerId> timer;
  Bytes unsent;
  Output::End end = Output::End::kNone;  // what follows the unsent bytes
  bool peer_finished = false;
  short watched = 0;  // the events that the loop watches for
};

Server::Server(EventLoop& loop, Plc& plc)
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
  close_socket(listener_);
}

std::uint16_t Server::port() const { return port_of(listener_); }

void Server::watch_listener() {
  loop_.watch(listener_, kReadable, [this](short) { accept_connections(); });
}

void Server::accept_connections() {
  for (;;) {
    const Accepted accepted = accept_from(listener_);
    if (accepted.outcome == Outcome::kNotNow) return;
    if (accepted.outcome == Outcome::kFailed) {
      // The listener stays readable; asking it again and again would only burn the processor.
      loop_.unwatch(listener_);
      pause_ = loop_.add_timer(kOutOfSocketsPause, [this] {
        pause_.reset();
        watch_listener();
      });
      return;
    }
    if (connections_.size() >= Options::kMostConnections) {
      close_socket(accepted.socket);
      continue;
    }
    const Id id = next_id_++;
    Connection& connection =
        *connections_.emplace(id, std::make_unique<Connection>(id, accepted.socket, plc_))
             .first->second;
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
  const Moved received = receive_from(connection.socket, buffer);
  if (received.outcome == Outcome::kNotNow) return;
  if (received.outcome == Outcome::kDone && received.bytes > 0) {
    Outputs outputs;
    {
      const std::lock_guard held(plc_.lock);
      outputs = connection.session.receive(ByteView(buffer).first(received.bytes));
    }
    enqueue(connection, std::move(outputs));
    return;
  }
  connection.peer_finished = true;
  if (received.outcome == Outcome::kFailed) {
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
    const Moved sent = send_to(connection.socket, connection.unsent);
    if (sent.outcome == Outcome::kNotNow) return false;
    if (sent.outcome == Outcome::kFailed) {  // the peer is gone
      connection.unsent.clear();
      connection.queue.clear();
      connection.peer_finished = true;
      return true;
    }
    connection.unsent.erase(connection.unsent.begin(),
                            connection.unsent.begin() + static_cast<std::ptrdiff_t>(sent.bytes));
  }
  return true;
}

void Server::update_watch(Connection& connection) {
  short events = 0;
  if (!connection.peer_finished && connection.queue.size() < kMostQueued) events |= kReadable;
  if (!connection.unsent.empty()) events |= kWritable;
  if (events == connection.watched) return;
  connection.watched = events;
  if (events == 0) {
    // Only a timer is awaited; a hang-up would be reported over and over until then.
    loop_.unwatch(connection.socket);
  } else {
    loop_.watch(connection.socket, events, [this, id = connection.id](short) { on_ready(id); });
  }
}

void Server::close(Connection& connection, Output::End how) {
  if (connection.timer) loop_.cancel_timer(*connection.timer);
  if (connection.watched != 0) loop_.unwatch(connection.socket);
  if (how == Output::End::kReset) {
    reset_socket(connection.socket);
  } else {
    close_socket(connection.socket);
  }
  connections_.erase(connection.id);
}

}  // namespace plexum::sim
