#pragma once

#include "sim/memory.h"
#include "sim/message.h"

namespace plexum::sim {

// The read-variable and write-variable jobs, with any number of items. What concerns one item is
// told by that item's return code; a job or an answer larger than `pdu` bytes, or a job that
// contradicts itself, is refused as a whole (throws Refusal with Error::kWrongFrame).
//
// Timers and counters can be read as such or as bytes (two bytes each, number 0 first); they
// can't be written.
Message read_variables(const Memory& memory, const Message& job, std::size_t pdu);
Message write_variables(Memory& memory, const Message& job, bool write_protected);

}  // namespace plexum::sim
