#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace plexum::cli {

// A date and a time of day, to the millisecond: a PLC's, in whatever zone its clock is set to, or
// this computer's.
using PlcTime = std::chrono::time_point<std::chrono::system_clock, std::chrono::milliseconds>;

// By ISO 8601, without a zone: "2026-11-23T08:05:00.250".
std::string iso_text(PlcTime time);
// A moment in UTC: "2026-11-23T08:05:00.250Z".
std::string iso_text_utc(std::chrono::system_clock::time_point time);

// Reads YYYY-MM-DDTHH:MM[:SS[.fff]]; a blank may stand in place of the T. Throws a usage error.
PlcTime parse_time(const std::string& text);

// "Monday".
const char* weekday_name(PlcTime time);

// A time from its fields; nothing where there is no such day, or `of_day` is no time of a day.
std::optional<PlcTime> make_time(int year, unsigned month, unsigned day,
                                 std::chrono::milliseconds of_day);

// This computer's clock, in local time or in UTC.
PlcTime time_of_computer(bool utc);

}  // namespace plexum::cli
