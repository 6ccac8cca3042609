#pragma once

#include <cstdint>
#include <string>

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

// The range's name, or one made from it: "DB10 bytes 4 to 7", "M byte 20".
std::string described(const MemoryRange& range);

}  // namespace plexum::cli
