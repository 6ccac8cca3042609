#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "cli/link/connection_options.h"
#include "cli/link/local_platform.h"
#include "cli/text/failure.h"
#include "cli/watching/capture.h"
#include "cli/watching/watched_tcp_client.h"
#include "client/s7_client.h"

namespace plexum::sim {
class SimulatedPlc;
}

namespace plexum::cli {

// A command's connection to its PLC: a client with everything that it needs on this system, and a
// simulated PLC where one is asked for.
//
// Its members throw Failure, whose line begins with what was being done.
class PlcConnection {
 public:
  // Starts the simulated PLC where one is asked for. Doesn't connect yet.
  explicit PlcConnection(const ConnectionOptions& options);
  ~PlcConnection();
  PlcConnection(const PlcConnection&) = delete;
  PlcConnection& operator=(const PlcConnection&) = delete;

  // The PLC, for people: 192.0.2.10:102.
  [[nodiscard]] std::string plc_name() const;

  // What the PLC granted to the present connection.
  [[nodiscard]] const client::Granted& granted() const { return client_.granted(); }

  // Connects if there is no connection.
  void connect();
  void disconnect() { client_.disconnect(); }

  // Runs a job of the client, connected, and gives its result; `what` begins the line of its
  // failure.
  //
  //   plc.run("reading the clock", [](S7Client& client) { return client.clock(); });
  template <typename Job>
  auto run(const std::string& what, Job job) {
    connect();
    try {
      return job(client_);
    } catch (const client::Error& error) {
      rethrow(what, error);
    }
  }

  // Jobs and waits end with a failure soon after `cancelled` gives true.
  void cancel_when(std::function<bool()> cancelled);

  // Waits, and notices meanwhile when the connection ends. Stops early when `ended` says so.
  void idle(std::chrono::milliseconds duration, const std::function<bool()>& ended = {});

 private:
  [[noreturn]] static void rethrow(const std::string& what, const client::Error& error);

  const ConnectionOptions options_;
  std::unique_ptr<sim::SimulatedPlc> simulated_;
  std::string ip_;
  std::uint16_t port_;
  // Each stands on those before it.
  LocalPlatform platform_;
  OptionalCapture capture_;
  WatchedTcpClient watched_;
  client::S7Client client_;
};

using client::S7Client;

}  // namespace plexum::cli
