#pragma once

#include <cstdint>
#include <mutex>

#include "sim/faults.h"
#include "sim/memory.h"
#include "sim/options.h"

namespace plexum::sim {

// What all connections of one simulated PLC share. Whoever uses it from more than one thread holds
// its lock; a session expects that its caller does.
struct Plc {
  explicit Plc(const Options& chosen);

  std::mutex lock;
  const Options options;
  Memory memory;
  Faults faults;
};

}  // namespace plexum::sim
