#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "cli/link/connection_options.h"
#include "cli/link/local_link.h"
#include "cli/text/error_words.h"
#include "cli/text/failure.h"
#include "control/plexum_link.h"

namespace plexum::sim {
class SimulatedPlc;
}

namespace plexum::cli {

// One connection to one PLC. It uses the control as a careful host does: through its public members
// alone; it tests and clears `err`, `inuse` and `s7init`, and tells every outcome apart.
//
// All members throw Failure, whose line begins with what was being done.
class PlcConnection {
 public:
  // Starts the simulated PLC where one is asked for. Doesn't connect yet.
  explicit PlcConnection(const ConnectionOptions& options);
  ~PlcConnection();
  PlcConnection(const PlcConnection&) = delete;
  PlcConnection& operator=(const PlcConnection&) = delete;

  PlexumLink& link() { return local_.link; }
  // The PLC, for people: 192.0.2.10:102.
  [[nodiscard]] std::string plc_name() const;
  // The PDU size that the PLC is said to grant, in bytes.
  [[nodiscard]] unsigned pdu() const { return options_.pdu; }

  // Connects if there is no connection. The control's jobs would connect by themselves, but always
  // to port 102.
  void connect();
  [[nodiscard]] bool connected() { return link().s7init(); }
  // Closes the connection; the next job opens one.
  void disconnect();

  // Runs one job of the control and returns its result; `what` begins the line of its failure.
  //
  //   plc.run("reading the clock", JobKind::kQuery, [](PlexumLink& link) {
  //     return link.pg_ReadClock();
  //   });
  Value run(const std::string& what, JobKind step, const std::function<Value(PlexumLink&)>& job);

  // Lets the control process its messages for a while, as an idle host does, so that it notices a
  // connection that ends. Stops early when `ended` says so.
  void idle(std::chrono::milliseconds duration, const std::function<bool()>& ended = {});

 private:
  // Closes a connection of which a run-time error or a time-out has left the state unknown.
  void drop_connection();

  const ConnectionOptions options_;
  std::unique_ptr<sim::SimulatedPlc> simulated_;
  std::string ip_;
  std::uint16_t port_;
  LocalLink local_;
};

}  // namespace plexum::cli
