#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "sim/plc.h"
#include "sim/session.h"
#include "sim/system.h"

namespace plexum::sim {

// The sockets of a simulated PLC: listens, and gives every connection a session. Lives on its
// loop's thread; the PLC's lock is held while a session works.
class Server {
 public:
  // Listens as the PLC's options say. Throws std::system_error when it can't.
  Server(EventLoop& loop, Plc& plc);
  ~Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  std::uint16_t port() const;

 private:
  struct Connection;
  using Id = std::uint64_t;

  void watch_listener();
  void accept_connections();
  void on_ready(Id id);
  void receive(Connection& connection);
  void enqueue(Connection& connection, Outputs outputs);
  void send_due(Id id);
  bool send_bytes(Connection& connection);
  void update_watch(Connection& connection);
  void close(Connection& connection, Output::End how);
  Connection* find(Id id);

  EventLoop& loop_;
  Plc& plc_;
  Socket listener_;
  Id next_id_ = 1;
  std::optional<EventLoop::TimerId> pause_;
  std::map<Id, std::unique_ptr<Connection>> connections_;
};

}  // namespace plexum::sim
