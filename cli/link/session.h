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

// A stretch of one of the PLC's memory areas.
struct MemoryRange {
  std::string area;         // the control's code: "D", "M", "E", "A", "T", "Z", "P", "DI", "LD"
  std::uint32_t block = 0;  // number of the data block, for "D" and "DI"
  std::uint32_t start = 0;  // first byte
  std::uint32_t size = 0;   // in bytes
  std::string name{};       // for people; empty: described() makes one
};

// Whether the control can encode a job that starts at this byte: it reaches the first 4096 of every
// 8192 bytes, and timers and counters up to byte 4095.
bool can_address(std::uint32_t first_byte);

// One connection to one PLC, used as a careful host uses the control: through its public members
// alone, with `err`, `inuse` and `s7init` tested and cleared, and every outcome told apart.
//
// All members throw Failure, whose line begins with what was being done.
class Session {
 public:
  // Starts the simulated PLC where one is asked for; connects to nothing yet.
  explicit Session(const ConnectionOptions& options);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  PlexumLink& link() { return local_.link; }
  // The PLC, for people: 192.0.2.10:102.
  [[nodiscard]] std::string plc_name() const;
  // The PDU size that the PLC is said to grant, in bytes.
  [[nodiscard]] unsigned pdu() const { return options_.pdu; }

  // Connects if there is no connection. Jobs of the control would do so by themselves, but to port
  // 102 alone.
  void connect();
  [[nodiscard]] bool connected() { return link().s7init(); }
  // Closes the connection; the next job opens one.
  void disconnect();

  // Runs one job of the control and returns its result; `what` begins the line of its failure.
  //
  //   session.run("reading the clock", Step::kQuery, [](PlexumLink& link) {
  //     return link.pg_ReadClock();
  //   });
  Value run(const std::string& what, Step step, const std::function<Value(PlexumLink&)>& job);

  // Reads a range in as many jobs as the PLC's PDU needs.
  std::string read(const MemoryRange& range);
  // Writes `bytes` to the start of `range`, whose size they have, in as many jobs as needed; a
  // failure leaves what the jobs before it wrote.
  void write(const MemoryRange& range, const std::string& bytes);
  // Writes one bit (0 to 7) of the range's first byte.
  void write_bit(const MemoryRange& range, unsigned bit, bool value);

  // Lets the control process its messages for a while, as an idle host does; the loss of the
  // connection is seen in between. Ends early when `ended` says so.
  void idle(std::chrono::milliseconds duration, const std::function<bool()>& ended = {});

 private:
  // A connection that a run-time error or a time-out left in doubt.
  void drop_connection();

  const ConnectionOptions options_;
  std::unique_ptr<sim::SimulatedPlc> simulated_;
  std::string ip_;
  std::uint16_t port_;
  LocalLink local_;
};

// The range's name, or one made from it: "DB10 bytes 4 to 7", "M byte 20".
std::string described(const MemoryRange& range);

}  // namespace plexum::cli
