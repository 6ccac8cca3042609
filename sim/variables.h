#pragma once

#include "sim/memory.h"
#include "sim/message.h"

namespace plexum::sim {

// The read-variable and write-variable jobs, with any number of items. An item that can't be served
// has a return code of its own. A job that contradicts itself, or whose answer would be larger than
// `pdu` bytes, is refused as a whole: throws Malformed, or Refusal with Error::kWrongFrame.
//
// Timers and counters can be read as such or as bytes (two bytes each, number 0 first); they
// can't be written.
Message read_variables(const Memory& memory, const Message& job, std::size_t pdu);
Message write_variables(Memory& memory, const Message& job, bool write_protected);

}  // namespace plexum::sim
