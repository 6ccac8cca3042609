#include "sim/plc.h"

#include <stdexcept>

namespace plexum::sim {
namespace {

constexpr std::uint16_t kDefaultDataBlocks = 10;
constexpr std::uint16_t kDefaultSize = 1024;

}  // namespace

Plc::Plc(const Options& chosen)
    : options(chosen), running_since(options.now()), clock(options.now) {
  if (options.pdu < Options::kSmallestPdu || options.pdu > Options::kLargestPdu) {
    throw std::invalid_argument("the PDU size is from 64 to 8192 bytes");
  }
  if (options.jobs < 1 || options.jobs > Options::kMostJobs) {
    throw std::invalid_argument("1 to 8 jobs can be in flight");
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
