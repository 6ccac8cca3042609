#include "client/wire/clock.h"

#include <array>

#include "client/wire/bytes.h"

namespace plexum::wire {
namespace {

using std::chrono::days;
using std::chrono::hours;
using std::chrono::milliseconds;
using std::chrono::minutes;
using std::chrono::seconds;

constexpr std::size_t kSize = 10;
constexpr unsigned kFirstYearOf1900s = 90;

std::size_t bcd(long long value) {
  const auto number = static_cast<std::size_t>(value);
  return number / 10 % 10 << 4 | number % 10;
}

}  // namespace

std::string clock_content(PlcTime time) {
  const auto day = std::chrono::floor<days>(time);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss of_day(time - day);
  const int year = static_cast<int>(date.year());
  const auto milli = of_day.subseconds().count();
  std::string content;
  Writer(content)
      .u8(0)
      .u8(bcd(year / 100))
      .u8(bcd(year % 100))
      .u8(bcd(static_cast<unsigned>(date.month())))
      .u8(bcd(static_cast<unsigned>(date.day())))
      .u8(bcd(of_day.hours().count()))
      .u8(bcd(of_day.minutes().count()))
      .u8(bcd(of_day.seconds().count()))
      .u8(bcd(milli / 10))
      .u8(static_cast<std::size_t>(milli % 10) << 4 | (std::chrono::weekday(day).c_encoding() + 1));
  return content;
}

Parsed<PlcTime> parse_clock_content(std::string_view content) {
  if (content.size() != kSize) return Fault{"a time of another length"};
  Reader in(content);
  in.u16();                        // reserved, century
  std::array<unsigned, 7> fields;  // year to the milliseconds' first two digits
  for (unsigned& field : fields) {
    const unsigned byte = in.u8();
    if (byte >> 4 > 9 || (byte & 15u) > 9) return Fault{"a time that isn't BCD"};
    field = 10 * (byte >> 4) + (byte & 15u);
  }
  const unsigned last_digit = static_cast<unsigned>(in.u8()) >> 4;
  const auto [year, month, day, hour, minute, second, hundredths] = fields;
  const std::chrono::year_month_day date{
      std::chrono::year(static_cast<int>(year < kFirstYearOf1900s ? 2000 + year : 1900 + year)),
      std::chrono::month(month), std::chrono::day(day)};
  if (!date.ok() || hour > 23 || minute > 59 || second > 59 || last_digit > 9) {
    return Fault{"a time that is none"};
  }
  return PlcTime(std::chrono::sys_days(date) + hours(hour) + minutes(minute) + seconds(second) +
                 milliseconds(10 * hundredths + last_digit));
}

}  // namespace plexum::wire
