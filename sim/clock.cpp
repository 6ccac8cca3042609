#include "sim/clock.h"

#include <array>
#include <optional>

namespace plexum::sim {
namespace {

using std::chrono::days;
using std::chrono::floor;
using std::chrono::hours;
using std::chrono::milliseconds;
using std::chrono::minutes;
using std::chrono::seconds;

constexpr int kFalseCentury = 19;
constexpr int kFirstTrueYearOfIt = 90;

template <typename Number>
std::size_t bcd(Number value) {
  const auto number = static_cast<std::size_t>(value);
  return number / 10 % 10 << 4 | number % 10;
}

// Two decimal digits, or nothing.
std::optional<int> from_bcd(std::uint8_t byte) {
  const int high = byte >> 4;
  const int low = byte & 0x0F;
  if (high > 9 || low > 9) return {};
  return 10 * high + low;
}

}  // namespace

Clock::TimePoint Clock::system_now() {
  return floor<milliseconds>(std::chrono::system_clock::now());
}

Bytes Clock::date_and_time() const {
  const TimePoint now = time();
  const auto day = floor<days>(now);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss clock(now - day);
  const auto milli = static_cast<std::size_t>(clock.subseconds().count());
  return Writer()
      .u8(bcd(static_cast<int>(date.year()) % 100))
      .u8(bcd(static_cast<unsigned>(date.month())))
      .u8(bcd(static_cast<unsigned>(date.day())))
      .u8(bcd(clock.hours().count()))
      .u8(bcd(clock.minutes().count()))
      .u8(bcd(clock.seconds().count()))
      .u8(bcd(milli / 10))
      .u8(milli % 10 << 4 | (std::chrono::weekday(day).c_encoding() + 1))
      .take();
}

Bytes Clock::block() const {
  const std::chrono::year_month_day date(floor<days>(time()));
  const int century = static_cast<int>(date.year()) / 100 + century_shown_as_;
  return Writer().u8(0).u8(bcd(century)).bytes(date_and_time()).take();
}

bool Clock::set(ByteView block) {
  constexpr std::size_t kSize = 10;
  if (block.size() != kSize) return false;
  std::array<int, 8> fields{};  // century to the milliseconds' first two digits
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const std::optional<int> digits = from_bcd(block[i + 1]);
    if (!digits) return false;
    fields[i] = *digits;
  }
  const auto [sent_century, year, month, day, hour, minute, second, centiseconds] = fields;
  const int last_digit = block[kSize - 1] >> 4;

  const bool false_century = sent_century == kFalseCentury && year < kFirstTrueYearOfIt;
  const int century = false_century ? kFalseCentury + 1 : sent_century;
  const std::chrono::year_month_day date{std::chrono::year(100 * century + year),
                                         std::chrono::month(static_cast<unsigned>(month)),
                                         std::chrono::day(static_cast<unsigned>(day))};
  if (!date.ok() || hour > 23 || minute > 59 || second > 59 || last_digit > 9) return false;

  const TimePoint wanted = std::chrono::sys_days(date) + hours(hour) + minutes(minute) +
                           seconds(second) + milliseconds(10 * centiseconds + last_digit);
  ahead_ = wanted - now_();
  century_shown_as_ = sent_century - century;
  return true;
}

}  // namespace plexum::sim
