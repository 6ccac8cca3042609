#pragma once

#include <CLI/CLI.hpp>
#include <chrono>
#include <string>
#include <vector>

#include "cli/link/connection_options.h"
#include "cli/link/plc_connection.h"
#include "cli/plc/plc_address.h"
#include "cli/plc/plc_value.h"

namespace plexum::cli {

// Variables that are read again and again.
struct PollOptions {
  ConnectionOptions connection;
  std::vector<std::string> addresses;
  unsigned interval = 500;  // from one poll to the next, in milliseconds
  unsigned count = 0;       // polls; 0: no limit
  double duration = 0;      // in seconds; 0: no limit
  std::string csv_path;     // of a table with a row for each poll; empty: none
};

// Adds the addresses, the interval, --csv and the connection's options.
void add_poll_options(CLI::App& command, PollOptions& options);

// The options' addresses. Throws a usage error for one that is wrong or can't be read.
std::vector<PlcAddress> polled_addresses(const PollOptions& options);

using PollTime = std::chrono::system_clock::time_point;

// What a poll read of one address: its values, or why there are none.
struct PolledVariable {
  std::vector<PlcValue> values;
  std::string trouble;  // in words; empty where there are values
};

// Is told of every poll.
class PollObserver {
 public:
  PollObserver() = default;
  virtual ~PollObserver() = default;
  PollObserver(const PollObserver&) = delete;
  PollObserver& operator=(const PollObserver&) = delete;

  // A poll that the PLC answered; the variables are in the order of the addresses.
  virtual void on_values(PollTime time, const std::vector<PolledVariable>& variables) = 0;
  // A poll that failed; `line` is the reason.
  virtual void on_failure(PollTime time, const std::string& line) = 0;
};

// The pause between the failed poll of that number in a row, from 1 on, and the next attempt: 1
// second, then twice as long each time, and never more than 10 seconds.
std::chrono::milliseconds pause_after_failure(unsigned number);

// Polls until the user interrupts it or a limit of the options is reached, then prints the
// statistics on standard error. A failure of the first poll is thrown. After a later one it
// connects again, for as long as it takes, in pauses that grow to 10 seconds. Where the last poll
// failed, its failure is thrown at the end. A variable that the PLC refuses fails no poll.
void poll(PlcConnection& plc, const std::vector<PlcAddress>& addresses, const PollOptions& options,
          PollObserver& observer);

}  // namespace plexum::cli
