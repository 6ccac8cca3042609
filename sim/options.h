#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "sim/clock.h"
#include "sim/faults.h"

namespace plexum::sim {

struct DataBlockSize {
  std::uint16_t number = 0;
  std::uint16_t size = 0;  // in bytes
};

// Reads NUMBER:SIZE, for example 10:512. Throws std::invalid_argument, with a text for users.
DataBlockSize parse_data_block(std::string_view text);

// How a simulated PLC is made.
struct Options {
  // The smallest and largest PDU that can be granted, in bytes.
  static constexpr std::uint16_t kSmallestPdu = 64;
  static constexpr std::uint16_t kLargestPdu = 8192;

  static constexpr std::uint16_t kMostJobs = 8;

  // Connections at once; one more is closed as soon as it is accepted.
  static constexpr std::size_t kMostConnections = 64;

  std::string listen = "127.0.0.1";      // an address, IPv4 or IPv6
  std::uint16_t port = 102;              // 0 asks the system for a free one
  std::uint16_t pdu = 240;               // granted to clients that ask for as much, in bytes
  std::uint16_t jobs = 3;                // in flight, granted each way to clients that ask for them
  std::chrono::milliseconds latency{0};  // from a job's arrival to its answer
  std::vector<DataBlockSize> data_blocks;  // DB 1 to DB 10 of 1024 bytes when empty
  bool write_protected = false;            // writes and control services are refused
  bool runs_program = false;               // some flags change with time: see run_program()
  // From the acknowledgement of a download request to the PLC's own first job.
  std::chrono::milliseconds download_pause{20};
  // A client that hasn't requested a COTP connection by then is closed, so that silent clients
  // don't take all connections. This is the simulator's own; what CPUs do isn't known.
  std::chrono::milliseconds longest_silence{30'000};
  std::vector<Fault> faults;
  Clock::Now now = Clock::system_now;  // what makes the PLC's clock run
};

}  // namespace plexum::sim
