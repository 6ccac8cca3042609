#include "sim/options.h"

#include <charconv>
#include <stdexcept>

#include "sim/memory.h"

namespace plexum::sim {

DataBlockSize parse_data_block(std::string_view text) {
  DataBlockSize block;
  const char* const end = text.data() + text.size();
  const auto number = std::from_chars(text.data(), end, block.number);
  const bool separated = number.ec == std::errc() && number.ptr != end && *number.ptr == ':';
  const auto size = separated ? std::from_chars(number.ptr + 1, end, block.size) : number;
  if (!separated || size.ec != std::errc() || size.ptr != end || block.number == 0 ||
      block.size == 0 || block.size > Memory::kLargestDataBlock) {
    throw std::invalid_argument("data block \"" + std::string(text) +
                                "\": expected NUMBER:SIZE, a number from 1 to 65535 and a size "
                                "from 1 to 65534 bytes");
  }
  return block;
}

}  // namespace plexum::sim
