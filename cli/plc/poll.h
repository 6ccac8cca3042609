#pragma once

#include <CLI/CLI.hpp>
#include <chrono>
#include <string>
#include <vector>

#include "cli/link/connection_options.h"
#include "cli/link/session.h"
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
  std::string csv_path;     // a row a poll; empty: none
};

// Adds the addresses, the interval, --csv and the connection's options.
void add_poll_options(CLI::App& command, PollOptions& options);

// The addresses, which can be read. Throws usage errors.
std::vector<PlcAddress> polled_addresses(const PollOptions& options);

using PollTime = std::chrono::system_clock::time_point;

// Sees what the polls bring.
class PollObserver {
 public:
  PollObserver() = default;
  virtual ~PollObserver() = default;
  PollObserver(const PollObserver&) = delete;
  PollObserver& operator=(const PollObserver&) = delete;

  // The values of a poll, by address.
  virtual void took(PollTime time, const std::vector<std::vector<PlcValue>>& values) = 0;
  // A poll failed, for the reason in `line`; another follows.
  virtual void failed(PollTime time, const std::string& line) = 0;
};

// Polls until the user interrupts it or the options' limits are reached, then tells the statistics
// on standard error. From the first good poll on it connects again by itself, after a pause, when
// the PLC is lost; before that a failure is thrown, as it is by a run that ends in an outage.
void poll(Session& session, const std::vector<PlcAddress>& addresses, const PollOptions& options,
          PollObserver& observer);

}  // namespace plexum::cli
