#pragma once

#include <chrono>
#include <string>

namespace plexum::cli {

// A moment in UTC by ISO 8601, with milliseconds: 2026-11-23T01:02:03.456Z.
std::string iso_time(std::chrono::system_clock::time_point time);

}  // namespace plexum::cli
