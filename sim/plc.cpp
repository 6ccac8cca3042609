#include "sim/plc.h"

#include <charconv>
#include <stdexcept>

namespace plexum::sim {
namespace {

constexpr std::uint16_t kDefaultDataBlocks = 10;
constexpr std::uint16_t kDefaultSize = 1024;

}  // namespace

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

Plc::Plc(const Options& chosen)
    : options(chosen), running_since(options.now()), clock(options.now) {
  if (options.pdu < Options::kSmallestPdu || options.pdu > Options::kLargestPdu) {
    throw std::invalid_argument("the PDU size is from 64 to 8192 bytes");
  }
  for (const DataBlockSize& block : options.data_blocks) {
    memory.create_data_block(block.number, block.size);
  }
  if (options.data_blocks.empty()) {
    for (std::uint16_t number = 1; number <= kDefaultDataBlocks; ++number) {
      memory.create_data_block(number, kDefaultSize);
    }
  }
  if (Bytes* first = memory.find(Area::kDataBlock, 1)) fill_sample(*first);
  for (const Fault& fault : options.faults) faults.add(fault);
}

}  // namespace plexum::sim
