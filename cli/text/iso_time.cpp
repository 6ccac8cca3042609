#include "cli/text/iso_time.h"

#include <cstdio>

namespace plexum::cli {

std::string iso_time(std::chrono::system_clock::time_point time) {
  using std::chrono::days;
  using std::chrono::floor;
  using std::chrono::milliseconds;
  const auto day = floor<days>(time);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss clock(floor<milliseconds>(time - day));
  char text[80];
  std::snprintf(
      text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ", static_cast<int>(date.year()),
      static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
      static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
      static_cast<int>(clock.seconds().count()), static_cast<int>(clock.subseconds().count()));
  return text;
}

}  // namespace plexum::cli
