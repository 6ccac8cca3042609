#include "client/item.h"

namespace plexum::client {
namespace {

constexpr std::size_t kAreaEnd = 65536;  // bytes, timers or counters

}  // namespace

std::size_t size_of(ElementType type) {
  switch (type) {
    case ElementType::kWord:
    case ElementType::kInt:
    case ElementType::kTimer:
    case ElementType::kCounter:
      return 2;
    case ElementType::kDWord:
    case ElementType::kDInt:
    case ElementType::kReal:
      return 4;
    default:
      return 1;
  }
}

std::size_t Item::size() const { return count * size_of(type); }

bool Item::is_valid() const {
  const bool of_timers = area == Area::kTimers;
  const bool of_counters = area == Area::kCounters;
  if (of_timers != (type == ElementType::kTimer)) return false;
  if (of_counters != (type == ElementType::kCounter)) return false;
  if (type == ElementType::kBit ? count != 1 || bit > 7 : bit != 0) return false;
  if (count == 0 || count > kAreaEnd || start >= kAreaEnd) return false;
  return start + (of_timers || of_counters ? count : size()) <= kAreaEnd;
}

}  // namespace plexum::client
