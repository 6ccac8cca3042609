#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include "client/wire/parsed.h"

namespace plexum::wire {

// A PLC's date and time: of whatever zone its clock is set to.
using PlcTime = std::chrono::sys_time<std::chrono::milliseconds>;

// The content of the clock functions, 10 bytes of BCD: 0, century, then DATE_AND_TIME: year, month,
// day, hour, minute, second, milliseconds (three digits) and the weekday, 1 for Sunday.
//
// DATE_AND_TIME spans the years 1990 to 2089, so its two digits tell the year. The century says
// little: a PLC was seen to keep the 19 that a programming tool sent in 2014.
std::string clock_content(PlcTime time);
Parsed<PlcTime> parse_clock_content(std::string_view content);

}  // namespace plexum::wire
