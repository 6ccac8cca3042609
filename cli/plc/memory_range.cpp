#include "cli/plc/memory_range.h"

namespace plexum::cli {

bool can_address(std::uint32_t first_byte) {
  constexpr std::uint32_t kPeriod = 8192;
  constexpr std::uint32_t kReachedOfPeriod = 4096;
  constexpr std::uint32_t kAddresses = 1u << 21;
  return first_byte % kPeriod < kReachedOfPeriod && first_byte < kAddresses;
}

std::string described(const MemoryRange& range) {
  if (!range.name.empty()) return range.name;
  std::string text = range.area == "D" || range.area == "DI"
                         ? (range.area == "D" ? "DB" : "DI") + std::to_string(range.block)
                         : range.area;
  text += range.size == 1 ? " byte " : " bytes ";
  text += std::to_string(range.start);
  if (range.size > 1) text += " to " + std::to_string(range.start + range.size - 1);
  return text;
}

}  // namespace plexum::cli
