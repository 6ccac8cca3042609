#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace plexum::client {

// What kind of partner a client is to the PLC; PLCs keep connections of each kind apart.
enum class Partner : std::uint8_t { kProgrammingDevice = 1, kOperatorPanel = 2, kBasic = 3 };

// The two bytes of a TSAP that names a kind of partner, a rack (0 to 7) and a slot (0 to 31).
std::string tsap_of(Partner partner, unsigned rack, unsigned slot);

// Where a PLC is.
struct Endpoint {
  std::string host;  // address or name
  std::uint16_t port = 102;
  std::string calling_tsap = std::string("\x01\x00", 2);  // bytes
  std::string called_tsap = std::string("\x01\x02", 2);   // rack 0, slot 2
};

struct Options {
  // The most that is asked for; what a PLC grants may be less.
  std::size_t pdu = 960;  // bytes of a message
  std::size_t jobs = 8;   // in flight

  // The most items that one telegram reads or writes: 1 to 255. Some PLCs take no more than 20.
  std::size_t items = 20;
  // Whether neighbouring items are read and written as one where that is cheaper.
  bool join_neighbours = true;

  std::chrono::milliseconds connect_time_out{5000};
  // Since the last progress.
  std::chrono::milliseconds time_out{3000};

  // Asked in every wait, at least every 50 ms; true ends the job with Cancelled.
  std::function<bool()> cancelled;
};

}  // namespace plexum::client
