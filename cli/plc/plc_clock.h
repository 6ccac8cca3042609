#pragma once

#include "cli/link/plc_connection.h"
#include "cli/text/iso_time.h"

namespace plexum::cli {

// Reads the clock. Some PLCs send the century 19 with years from 2000 on: 1926 is taken for 2026.
// Throws Failure, also for a clock that shows no date.
PlcTime read_clock(PlcConnection& plc);

// Sets the clock, to a tenth of a second, and reads it back. Throws Failure when it then shows
// another time.
void set_clock(PlcConnection& plc, PlcTime time);

}  // namespace plexum::cli
