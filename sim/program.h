#pragma once

namespace plexum::sim {

struct Plc;

// What the PLC's program does while it runs, for hosts that want to watch something change:
//
//   MW 100    INT   seconds since the (re)start, 0 to 9999 and again
//   MD 104    REAL  a sine of 100 in 20 s
//   MW 108    INT   a saw-tooth from 0 to 99 in 10 s
//   M 110.0   BOOL  on for half of every second
//
// Writes the values of now; none while the PLC is stopped.
void run_program(Plc& plc);

}  // namespace plexum::sim
