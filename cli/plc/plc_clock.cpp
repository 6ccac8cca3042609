#include "cli/plc/plc_clock.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <ctime>

namespace plexum::cli {
namespace {

using std::chrono::days;
using std::chrono::milliseconds;

// Of how much a clock that was just set may differ, by the journey and by the tenths that it takes.
constexpr milliseconds kTolerance{2000};

PlcTime time_from(int year, unsigned month, unsigned day, milliseconds of_day,
                  const std::string& complaint) {
  const std::chrono::year_month_day date{std::chrono::year(year), std::chrono::month(month),
                                         std::chrono::day(day)};
  if (!date.ok() || of_day >= days(1)) throw Failure(complaint);
  return std::chrono::sys_days(date) + of_day;
}

struct Fields {
  int year;
  unsigned month, day, hour, minute, second, millisecond;
  unsigned weekday;  // 1 is Sunday
};

Fields fields_of(PlcTime time) {
  const auto day = std::chrono::floor<days>(time);
  const std::chrono::year_month_day date(day);
  const auto of_day = static_cast<unsigned>((time - day).count());
  return {static_cast<int>(date.year()),
          static_cast<unsigned>(date.month()),
          static_cast<unsigned>(date.day()),
          of_day / 3'600'000,
          of_day / 60'000 % 60,
          of_day / 1000 % 60,
          of_day % 1000,
          std::chrono::weekday(day).c_encoding() + 1};
}

std::string digits(unsigned number, std::size_t width) {
  std::string text = std::to_string(number);
  return text.size() < width ? std::string(width - text.size(), '0') + text : text;
}

// The number that a text of decimal digits is.
unsigned number_of(const std::string& text, const std::string& complaint) {
  unsigned number = 0;
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number);
  if (read.ec != std::errc() || read.ptr != end) throw Failure(complaint);
  return number;
}

}  // namespace

std::string iso_text(PlcTime time) {
  const Fields at = fields_of(time);
  return digits(static_cast<unsigned>(at.year), 4) + "-" + digits(at.month, 2) + "-" +
         digits(at.day, 2) + "T" + digits(at.hour, 2) + ":" + digits(at.minute, 2) + ":" +
         digits(at.second, 2) + "." + digits(at.millisecond, 3);
}

const char* weekday_name(PlcTime time) {
  constexpr const char* kNames[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                    "Thursday", "Friday", "Saturday"};
  return kNames[fields_of(time).weekday - 1];
}

PlcTime parse_time(const std::string& text) {
  const std::string complaint = "\"" + text +
                                "\" is no time; write it as 2026-11-23T08:05:00, its seconds may "
                                "be left out or have decimals";
  // The form, character by character; what is left out stands for nothing.
  constexpr std::string_view kForm = "dddd-dd-ddTdd:dd:dd.ddd";
  constexpr std::size_t kSizes[] = {16, 19, 21, 22, 23};
  std::string whole = "0000-00-00T00:00:00.000";
  bool fits = false;
  for (const std::size_t size : kSizes) fits = fits || size == text.size();
  for (std::size_t i = 0; fits && i < text.size(); ++i) {
    const bool digit = text[i] >= '0' && text[i] <= '9';
    const bool blank = kForm[i] == 'T' && (text[i] == ' ' || text[i] == 't');
    fits = kForm[i] == 'd' ? digit : blank || text[i] == kForm[i];
    whole[i] = text[i];
  }
  if (!fits) throw usage_error(complaint);
  const auto field = [&](std::size_t index, std::size_t size) {
    return number_of(whole.substr(index, size), complaint);
  };
  const unsigned hour = field(11, 2);
  const unsigned minute = field(14, 2);
  const unsigned second = field(17, 2);
  if (minute > 59 || second > 59) throw usage_error(complaint);
  try {
    return time_from(static_cast<int>(field(0, 4)), field(5, 2), field(8, 2),
                     std::chrono::hours(hour) + std::chrono::minutes(minute) +
                         std::chrono::seconds(second) + milliseconds(field(20, 3)),
                     complaint);
  } catch (const Failure& failure) {
    throw usage_error(failure.what());
  }
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
  const auto of_day = std::chrono::hours(local.tm_hour) + std::chrono::minutes(local.tm_min) +
                      std::chrono::seconds(std::min(local.tm_sec, 59));
  return time_from(local.tm_year + 1900, static_cast<unsigned>(local.tm_mon + 1),
                   static_cast<unsigned>(local.tm_mday), of_day + now.time_since_epoch() % 1000,
                   "this computer's clock shows no date");
}

PlcTime read_clock(Session& session) {
  const std::string what = "reading the clock";
  const Value result =
      session.run(what, Step::kQuery, [](PlexumLink& link) { return link.pg_ReadClock(); });
  std::array<std::string, 7> texts;
  if (const auto* array = std::get_if<VariantArray>(&result)) {
    for (std::size_t i = 0; i < texts.size() && i < array->elements.size(); ++i) {
      if (const auto* text = std::get_if<std::string>(&array->elements[i])) texts[i] = *text;
    }
  }
  const std::string complaint = what + ": it shows no date (" + texts[0] + "-" + texts[1] + "-" +
                                texts[2] + " " + texts[3] + ":" + texts[4] + ":" + texts[5] + ")";
  std::array<unsigned, 7> fields{};
  for (std::size_t i = 0; i < fields.size(); ++i) {
    // The last one's fourth digit is the weekday.
    fields[i] = number_of(i == 6 ? texts[i].substr(0, 3) : texts[i], complaint);
  }
  constexpr unsigned kFirstYearOfPlcs = 1990;
  const unsigned year =
      fields[0] < kFirstYearOfPlcs && fields[0] >= 1900 ? fields[0] + 100 : fields[0];
  return time_from(static_cast<int>(year), fields[1], fields[2],
                   std::chrono::hours(fields[3]) + std::chrono::minutes(fields[4]) +
                       std::chrono::seconds(fields[5]) + milliseconds(fields[6]),
                   complaint);
}

void set_clock(Session& session, PlcTime time) {
  const Fields at = fields_of(time);
  // Two digits of the milliseconds are sent, twice: where the PLC expects their last digit and the
  // weekday, it finds them again. So the second one says the weekday.
  const std::string milliseconds_text =
      std::to_string(at.millisecond / 100) + std::to_string(at.weekday);
  session.connect();
  const auto start = std::chrono::steady_clock::now();
  session.run("setting the clock", Step::kQuery, [&](PlexumLink& link) {
    return link.pg_SetClock(digits(static_cast<unsigned>(at.year), 4), digits(at.month, 2),
                            digits(at.day, 2), digits(at.hour, 2), digits(at.minute, 2),
                            digits(at.second, 2), milliseconds_text);
  });
  const PlcTime shown = read_clock(session);
  const auto passed = std::chrono::steady_clock::now() - start;
  const auto expected = time + std::chrono::floor<milliseconds>(passed);
  if (std::chrono::abs(shown - expected) > kTolerance) {
    throw Failure("setting the clock: the PLC has not taken " + iso_text(time) +
                  ", its clock shows " + iso_text(shown) +
                  "; the protection level, or a clock that is set by another, may be why");
  }
}

}  // namespace plexum::cli
