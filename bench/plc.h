#pragma once

#include <cstdint>
#include <string>

namespace plexum::bench {

// The answer to one telegram, of a PLC that grants everything: connection requests, the set-up of
// the communication, reads and writes of one item. Reads give the bytes 01 02 03 ... 7F 00 01 ...
// Empty for anything else.
std::string answer_to(const std::string& telegram, std::uint16_t pdu);

}  // namespace plexum::bench
