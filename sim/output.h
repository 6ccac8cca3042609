#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

#include "sim/bytes.h"

namespace plexum::sim {

// What leaves a connection: bytes, and perhaps the connection's end right behind them.
struct Output {
  enum class End : std::uint8_t { kNone, kClose, kReset };

  // It leaves so long after the output before it has left, or after it came to be with none before.
  std::chrono::milliseconds delay{0};
  Bytes bytes;
  End end = End::kNone;
  // The delay begins so long after the output came to be, if the output before has left by then. So
  // the latencies of several outputs overlap, and their delays add up.
  std::chrono::milliseconds latency{0};
};

using Outputs = std::vector<Output>;

}  // namespace plexum::sim
