#pragma once

#include "sim/message.h"

namespace plexum::sim {

struct Plc;

// A system state list (SZL): list id, index, the records' length and number, then the records. The
// lists that there are: 0000 (the ids of all), 0011 and 0111 (modules), 001C and 011C (components),
// 0019, 0119, 0074 and 0174 (lamps), 0131 (communication abilities), 0132 (communication state,
// protection, clock), 0424 (mode); 0Fxx gives the head of 00xx alone.
//
// The lists of one lamp give all lamps for index 0, because some clients ask with that.
//
// Throws Refusal with Error::kNoSuchList or Error::kNoSuchIndex.
Bytes read_state_list(const Plc& plc, std::uint16_t id, std::uint16_t index);

}  // namespace plexum::sim
