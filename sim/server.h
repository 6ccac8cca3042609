#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "sim/client_connection.h"
#include "sim/plc.h"
#include "sim/system.h"

namespace plexum::sim {

// The sockets of a simulated PLC: it listens, and gives every client a connection to the PLC. It
// lives on its loop's thread, and holds the PLC's lock while a connection works.
class Server {
 public:
  // Listens as the PLC's options say. Throws std::system_error when it can't.
  Server(EventLoop& loop, Plc& plc);
  ~Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  std::uint16_t port() const;

 private:
  struct Client;
  using Id = std::uint64_t;

  void watch_listener();
  void accept_connections();
  void on_ready(Id id);
  void receive(Client& client);
  void enqueue(Client& client, Outputs outputs);
  void send_due(Id id);
  bool send_bytes(Client& client);
  void update_watch(Client& client);
  void close(Client& client, Output::End how);
  Client* find(Id id);

  EventLoop& loop_;
  Plc& plc_;
  Socket listener_;
  Id next_id_ = 1;
  std::optional<EventLoop::TimerId> pause_;
  std::map<Id, std::unique_ptr<Client>> clients_;
};

}  // namespace plexum::sim
