#include "sim/server.h"

#include <algorithm>
#include <array>
#include <utility>

#include "sim/sockets.h"

namespace plexum::sim {
namespace {

constexpr std::size_t kReceivedAtOnce = 4096;
// Outputs that may wait for one client: one that takes no answers isn't read from beyond that.
constexpr std::size_t kMostQueued = 64;
constexpr std::chrono::milliseconds kOutOfSocketsPause{100};

}  // namespace

struct Server::Client {
  Client(Id own_id, Socket own_socket, Plc& plc)
      : id(own_id), socket(own_socket), connection(plc) {}

  const Id id;
  const Socket socket;
  ClientConnection connection;
  struct Queued {
    Output output;
    EventLoop::Clock::time_point due;  // its latency is over
  };
  std::deque<Queued> queue;  // while nothing is unsent, the first one's time runs
  std::optional<EventLoop::TimerId> timer;
  std::optional<EventLoop::TimerId> silence;  // closes a client that never says anything
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
  while (!clients_.empty()) close(*clients_.begin()->second, Output::End::kClose);
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
      // The listener stays ready, so watching it would cost all of a processor.
      loop_.unwatch(listener_);
      pause_ = loop_.add_timer(kOutOfSocketsPause, [this] {
        pause_.reset();
        watch_listener();
      });
      return;
    }
    if (clients_.size() >= Options::kMostConnections) {
      close_socket(accepted.socket);
      continue;
    }
    const Id id = next_id_++;
    Client& client =
        *clients_.emplace(id, std::make_unique<Client>(id, accepted.socket, plc_)).first->second;
    update_watch(client);
    client.silence = loop_.add_timer(plc_.options.longest_silence, [this, id] {
      Client* const silent = find(id);
      silent->silence.reset();
      if (silent->connection.is_new()) close(*silent, Output::End::kClose);
    });
    Outputs outputs;
    {
      const std::lock_guard held(plc_.lock);
      outputs = client.connection.accepted();
    }
    enqueue(client, std::move(outputs));
    send_due(id);
  }
}

Server::Client* Server::find(Id id) {
  const auto found = clients_.find(id);
  return found == clients_.end() ? nullptr : found->second.get();
}

void Server::on_ready(Id id) {
  Client* client = find(id);
  if (client == nullptr) return;
  if (!client->peer_finished && client->queue.size() < kMostQueued) receive(*client);
  send_due(id);
}

void Server::receive(Client& client) {
  std::array<std::uint8_t, kReceivedAtOnce> buffer;
  const Moved received = receive_from(client.socket, buffer);
  if (received.outcome == Outcome::kNotNow) return;
  if (received.outcome == Outcome::kDone && received.bytes > 0) {
    Outputs outputs;
    {
      const std::lock_guard held(plc_.lock);
      outputs = client.connection.receive(ByteView(buffer).first(received.bytes));
    }
    enqueue(client, std::move(outputs));
    return;
  }
  client.peer_finished = true;
  if (received.outcome == Outcome::kFailed) {
    client.queue.clear();
    client.unsent.clear();
  }
}

void Server::enqueue(Client& client, Outputs outputs) {
  const auto now = EventLoop::Clock::now();
  for (Output& output : outputs) {
    const auto due = now + output.latency;
    client.queue.push_back({std::move(output), due});
  }
}

// Sends what is due now, starts the timer for what is due later, and closes an ended connection.
void Server::send_due(Id id) {
  Client* const found = find(id);
  if (found == nullptr) return;
  Client& client = *found;
  while (send_bytes(client) && client.end == Output::End::kNone && !client.timer &&
         !client.queue.empty()) {
    auto& [next, due] = client.queue.front();
    if (next.delay.count() > 0 || next.latency.count() > 0) {
      const auto left = std::max(due - EventLoop::Clock::now(), EventLoop::Clock::duration::zero());
      const auto wait = std::chrono::ceil<std::chrono::microseconds>(left + next.delay);
      next.delay = next.latency = {};
      client.timer = loop_.add_timer(wait, [this, id] {
        if (Client* waiting = find(id)) waiting->timer.reset();
        send_due(id);
      });
      break;
    }
    client.unsent = std::move(next.bytes);
    client.end = next.end;
    client.queue.pop_front();
  }
  const bool sent = client.unsent.empty();
  if (sent && client.end != Output::End::kNone) return close(client, client.end);
  if (sent && client.queue.empty() && client.peer_finished) {
    return close(client, Output::End::kClose);
  }
  update_watch(client);
}

// Whether all bytes of the last output are with the system.
bool Server::send_bytes(Client& client) {
  while (!client.unsent.empty()) {
    const Moved sent = send_to(client.socket, client.unsent);
    if (sent.outcome == Outcome::kNotNow) return false;
    if (sent.outcome == Outcome::kFailed) {  // the peer is gone
      client.unsent.clear();
      client.queue.clear();
      client.peer_finished = true;
      return true;
    }
    client.unsent.erase(client.unsent.begin(),
                        client.unsent.begin() + static_cast<std::ptrdiff_t>(sent.bytes));
  }
  return true;
}

void Server::update_watch(Client& client) {
  short events = 0;
  if (!client.peer_finished && client.queue.size() < kMostQueued) events |= kReadable;
  if (!client.unsent.empty()) events |= kWritable;
  if (events == client.watched) return;
  client.watched = events;
  if (events == 0) {
    // Only the timer goes on. The loop would report a hang-up again and again until then.
    loop_.unwatch(client.socket);
  } else {
    loop_.watch(client.socket, events, [this, id = client.id](short) { on_ready(id); });
  }
}

void Server::close(Client& client, Output::End how) {
  if (client.timer) loop_.cancel_timer(*client.timer);
  if (client.silence) loop_.cancel_timer(*client.silence);
  if (client.watched != 0) loop_.unwatch(client.socket);
  if (how == Output::End::kReset) {
    reset_socket(client.socket);
  } else {
    close_socket(client.socket);
  }
  const std::lock_guard held(plc_.lock);  // the blocks on their way give back their room
  clients_.erase(client.id);
}

}  // namespace plexum::sim
