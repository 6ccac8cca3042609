#pragma once

#include <chrono>
#include <string>

#include "cli/link/session.h"

namespace plexum::cli {

// A PLC's date and time: of whatever zone its clock is set to.
using PlcTime = std::chrono::time_point<std::chrono::system_clock, std::chrono::milliseconds>;

// "2026-11-23T08:05:00.250".
std::string iso_text(PlcTime time);
// "Monday".
const char* weekday_name(PlcTime time);

// Reads YYYY-MM-DDTHH:MM[:SS[.fff]], with a blank in place of the T where one likes. Throws a usage
// error.
PlcTime parse_time(const std::string& text);

// This computer's clock, in local time or in UTC.
PlcTime time_of_computer(bool utc);

// PLCs that write years from 2000 on with the century 19 are understood. Throws Failure, also for a
// clock that shows no date.
PlcTime read_clock(Session& session);

// Sets the clock, to a tenth of a second, and reads it back. Throws Failure when it then shows
// another time.
void set_clock(Session& session, PlcTime time);

}  // namespace plexum::cli
