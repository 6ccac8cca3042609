#include "cli/text/iso_time.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <string_view>

#include "cli/text/failure.h"

namespace plexum::cli {
namespace {

using std::chrono::days;
using std::chrono::milliseconds;

// The number that `size` decimal digits give.
unsigned number_at(const std::string& text, std::size_t index, std::size_t size) {
  return static_cast<unsigned>(std::stoul(text.substr(index, size)));
}

}  // namespace

std::string iso_text(PlcTime time) {
  const auto day = std::chrono::floor<days>(time);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss clock(time - day);
  char text[80];
  std::snprintf(
      text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d.%03d", static_cast<int>(date.year()),
      static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
      static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
      static_cast<int>(clock.seconds().count()), static_cast<int>(clock.subseconds().count()));
  return text;
}

std::string iso_text_utc(std::chrono::system_clock::time_point time) {
  return iso_text(std::chrono::floor<milliseconds>(time)) + "Z";
}

PlcTime parse_time(const std::string& text) {
  // The form, a character a place (d: a digit). What the user leaves out stays as it is in `whole`.
  constexpr std::string_view kForm = "dddd-dd-ddTdd:dd:dd.ddd";
  constexpr std::size_t kSizes[] = {16, 19, 21, 22, 23};
  std::string whole = "0000-00-00T00:00:00.000";
  bool fits = std::find(std::begin(kSizes), std::end(kSizes), text.size()) != std::end(kSizes);
  for (std::size_t i = 0; fits && i < text.size(); ++i) {
    const bool digit = text[i] >= '0' && text[i] <= '9';
    const bool divider = kForm[i] == 'T' && (text[i] == ' ' || text[i] == 't');
    fits = kForm[i] == 'd' ? digit : divider || text[i] == kForm[i];
    whole[i] = text[i];
  }
  if (fits) {
    const unsigned minute = number_at(whole, 14, 2);
    const unsigned second = number_at(whole, 17, 2);
    const auto of_day = std::chrono::hours(number_at(whole, 11, 2)) + std::chrono::minutes(minute) +
                        std::chrono::seconds(second) + milliseconds(number_at(whole, 20, 3));
    const std::optional<PlcTime> time =
        make_time(static_cast<int>(number_at(whole, 0, 4)), number_at(whole, 5, 2),
                  number_at(whole, 8, 2), of_day);
    if (time && minute < 60 && second < 60) return *time;
  }
  throw usage_error("\"" + text +
                    "\" is no time; write it as 2026-11-23T08:05:00, its seconds may be left out "
                    "or have decimals");
}

const char* weekday_name(PlcTime time) {
  constexpr const char* kNames[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                    "Thursday", "Friday", "Saturday"};
  return kNames[std::chrono::weekday(std::chrono::floor<days>(time)).c_encoding()];
}

std::optional<PlcTime> make_time(int year, unsigned month, unsigned day, milliseconds of_day) {
  const std::chrono::year_month_day date{std::chrono::year(year), std::chrono::month(month),
                                         std::chrono::day(day)};
  if (!date.ok() || of_day >= days(1)) return std::nullopt;
  return std::chrono::sys_days(date) + of_day;
}

PlcTime time_of_computer(bool utc) {
  const PlcTime now = std::chrono::floor<milliseconds>(std::chrono::system_clock::now());
  if (utc) return now;
  const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
  std::tm local{};
#ifdef _WIN32
  localtime_s(&local, &seconds);
#else
  localtime_r(&seconds, &local);
#endif
  // A leap second is shown as the second before it.
  const auto of_day = std::chrono::hours(local.tm_hour) + std::chrono::minutes(local.tm_min) +
                      std::chrono::seconds(std::min(local.tm_sec, 59));
  const std::optional<PlcTime> time =
      make_time(local.tm_year + 1900, static_cast<unsigned>(local.tm_mon + 1),
                static_cast<unsigned>(local.tm_mday), of_day + now.time_since_epoch() % 1000);
  if (!time) throw Failure("this computer's clock shows no date");
  return *time;
}

}  // namespace plexum::cli
