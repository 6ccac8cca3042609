#include "sim/program.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>

#include "sim/plc.h"

namespace plexum::sim {

void run_program(Plc& plc) {
  if (plc.mode != Mode::kRun) return;
  constexpr std::size_t kFirstByte = 100;
  constexpr std::int64_t kSinePeriod = 20'000;  // ms
  const auto elapsed = static_cast<std::uint64_t>(
      std::max<std::int64_t>(0, (plc.options.now() - plc.running_since).count()));
  const double turn = static_cast<double>(elapsed % kSinePeriod) / kSinePeriod;
  const auto sine = static_cast<float>(100 * std::sin(2 * std::numbers::pi * turn));
  // Full steps of so many milliseconds, counted up to `count`.
  const auto steps = [elapsed](std::uint64_t milliseconds, std::uint64_t count) {
    return static_cast<std::size_t>(elapsed / milliseconds % count);
  };
  const Bytes values = Writer()
                           .u16(steps(1000, 10'000))
                           .u16(0)
                           .u32(std::bit_cast<std::uint32_t>(sine))
                           .u16(steps(100, 100))
                           .u8(elapsed % 1000 < 500 ? 1 : 0)
                           .take();
  Bytes& flags = *plc.memory.find(Area::kFlags, 0);
  std::copy(values.begin(), values.end(), flags.begin() + kFirstByte);
}

}  // namespace plexum::sim
