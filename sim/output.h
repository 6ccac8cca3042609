#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

#include "sim/bytes.h"

namespace plexum::sim {

// What leaves a connection: bytes, and perhaps the connection's end right behind them.
struct Output {
  enum class End : std::uint8_t { kNone, kClose, kReset };

  // It leaves so long after the output before it; the first one in a queue, after it was queued.
  std::chrono::milliseconds delay{0};
  Bytes bytes;
  End end = End::kNone;
};

using Outputs = std::vector<Output>;

}  // namespace plexum::sim
