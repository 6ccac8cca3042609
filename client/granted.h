#pragma once

#include <cstddef>

namespace plexum::client {

// What the PLC granted when the connection was set up.
struct Granted {
  std::size_t pdu = 0;           // bytes of a message
  std::size_t calling_jobs = 0;  // that the client may have in flight
  std::size_t called_jobs = 0;   // that the PLC may
};

// What came that was no answer to anything, since connecting.
struct Strays {
  std::size_t answers = 0;   // to no job in flight: late ones, second ones
  std::size_t messages = 0;  // of the PLC's own accord, such as a change of its mode
  std::size_t jobs = 0;      // of the PLC's that nothing was expected of
};

}  // namespace plexum::client
