#pragma once

#include <cstdint>
#include <mutex>

#include "sim/block_store.h"
#include "sim/clock.h"
#include "sim/faults.h"
#include "sim/memory.h"
#include "sim/options.h"

namespace plexum::sim {

// As the state list of the mode tells it.
enum class Mode : std::uint8_t { kStop = 4, kRun = 8 };

// What all connections of one simulated PLC share. A program that uses it on several threads holds
// its lock, and also while it calls a ClientConnection, which doesn't take the lock itself.
struct Plc {
  explicit Plc(const Options& chosen);

  std::mutex lock;
  const Options options;
  Memory memory;
  BlockStore blocks{memory};
  Mode mode = Mode::kRun;
  Clock::TimePoint running_since;  // by options.now
  Clock clock;
  Faults faults;
  unsigned copies_to_rom = 0;  // times that RAM was copied to ROM
  unsigned compressions = 0;
  std::uint32_t last_upload = 0;    // the id of the last upload
  std::uint8_t last_data_unit = 0;  // the reference of the last answer in several parts
};

}  // namespace plexum::sim
