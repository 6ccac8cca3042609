#include "data/area.h"

namespace plexum {
namespace {

struct Area {
  const char* code;
  char byte;
};

constexpr char operator""_byte(unsigned long long value) { return static_cast<char>(value); }

// In the order of lookup; the first match wins, so the last row is never reached and no code
// yields 0x87.
constexpr Area kAreas[] = {
    {"D", 0x84_byte}, {"M", 0x83_byte},  {"E", 0x81_byte},  {"A", 0x82_byte},
    {"P", 0x80_byte}, {"DI", 0x85_byte}, {"LD", 0x86_byte}, {"LD", 0x87_byte},
};
constexpr Area kTimersAndCounters[] = {{"T", 0x1D_byte}, {"Z", 0x1C_byte}};

template <std::size_t N>
std::string find(const Area (&areas)[N], const std::string& code) {
  for (const Area& area : areas) {
    if (code == area.code) return {area.byte};
  }
  return {};
}

}  // namespace

std::string area_byte(const std::string& code) { return find(kAreas, code); }

std::string area_byte_with_timers_and_counters(const std::string& code) {
  const std::string byte = find(kAreas, code);
  return byte.empty() ? find(kTimersAndCounters, code) : byte;
}

}  // namespace plexum
