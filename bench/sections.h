#pragma once

#include <string>

// The parts of the measurement; each prints one table.
namespace plexum::bench {

// Round trips of jobs, connecting, and long reads against the floor, with both processes anywhere
// and on one processor. `pairs` of samples each.
void measure_round_trips(int pairs);

// The client's lists of items and long reads: against the floor with as many telegrams in flight,
// against the time that the PLC takes, and beside the control. `pairs` of samples each.
void measure_client(int pairs);

// What `plexum watch` takes of a processor.
void measure_watch();

// Many controls in one process.
void measure_scale();

// What a connected control does while its host does nothing, in `seconds`.
void measure_idle(int seconds);

}  // namespace plexum::bench
