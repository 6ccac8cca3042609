#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace plexum::client {

// A system state list, all its parts joined. It is told by the PLC, so its head may contradict its
// records; a list of which only the head was asked for (0Fxx) has a count and no records.
struct StateList {
  std::uint16_t id = 0;
  std::uint16_t index = 0;
  std::uint16_t record_size = 0;  // in bytes
  std::uint16_t record_count = 0;
  std::string bytes;  // of the records

  // How many records are there whole.
  [[nodiscard]] std::size_t size() const {
    return record_size == 0 ? 0 : bytes.size() / record_size;
  }
  // One of them.
  [[nodiscard]] std::string_view record(std::size_t i) const {
    return std::string_view(bytes).substr(i * record_size, record_size);
  }
  // Whether the records are those that the head promises.
  [[nodiscard]] bool is_whole() const {
    return bytes.size() == std::size_t{record_size} * record_count;
  }
};

// Record 4 of state list 0132: the protection of the CPU. Levels: 1 none, 2 of writing, 3 of
// reading and writing, 4 by an own password of the block.
struct Protection {
  std::uint16_t by_selector = 0;  // level that the mode selector sets
  std::uint16_t by_password = 0;  // level that the project sets; 0: none
  std::uint16_t in_force = 0;
  std::uint16_t selector = 0;         // 1 RUN, 2 RUN-P, 3 STOP, 4 MRES, 0 not known
  std::uint16_t start_up_switch = 0;  // 1 warm restart, 2 hot restart, 0 not known
};

}  // namespace plexum::client
