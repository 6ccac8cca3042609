#pragma once

#include "sim/message.h"

namespace plexum::sim {

struct Plc;

// The program-invocation job: a service by its name, with its arguments.
//   P_PROGRAM   run: a restart without an argument, a cold restart with "C "
//   _MODU       "EP": copy RAM to ROM
//   _GARB       compress the memory
//   _DELE       delete blocks
//   _INSE       put downloaded blocks into use
// Throws Refusal for an unknown service, and for one that isn't allowed.
Message invoke_program(Plc& plc, const Message& job);

// The stop job.
Message stop_program(Plc& plc, const Message& job);

// Stops the PLC, deletes the user's data blocks and program, and clears the memory. Throws Refusal
// when the PLC is protected.
void erase(Plc& plc);

}  // namespace plexum::sim
