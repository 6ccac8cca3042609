#include "cli/plc/plc_clock.h"

#include <array>
#include <charconv>
#include <optional>

namespace plexum::cli {
namespace {

using std::chrono::days;
using std::chrono::milliseconds;

// A clock that was just set may differ by this much: the telegrams take time, and the PLC takes
// tenths of a second only.
constexpr milliseconds kTolerance{2000};

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

// The number that a text of decimal digits gives.
unsigned number_of(const std::string& text, const std::string& complaint) {
  unsigned number = 0;
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number);
  if (read.ec != std::errc() || read.ptr != end) throw Failure(complaint);
  return number;
}

}  // namespace

PlcTime read_clock(PlcConnection& plc) {
  const std::string what = "reading the clock";
  const Value result =
      plc.run(what, JobKind::kQuery, [](PlexumLink& link) { return link.pg_ReadClock(); });
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
  const std::optional<PlcTime> time =
      make_time(static_cast<int>(year), fields[1], fields[2],
                std::chrono::hours(fields[3]) + std::chrono::minutes(fields[4]) +
                    std::chrono::seconds(fields[5]) + milliseconds(fields[6]));
  if (!time) throw Failure(complaint);
  return *time;
}

void set_clock(PlcConnection& plc, PlcTime time) {
  const Fields at = fields_of(time);
  // The control sends two digits of the milliseconds, and sends them twice. The PLC takes the first
  // three for the milliseconds and the fourth for the weekday, so the second digit is the weekday.
  const std::string milliseconds_text =
      std::to_string(at.millisecond / 100) + std::to_string(at.weekday);
  plc.connect();
  const auto start = std::chrono::steady_clock::now();
  plc.run("setting the clock", JobKind::kQuery, [&](PlexumLink& link) {
    return link.pg_SetClock(digits(static_cast<unsigned>(at.year), 4), digits(at.month, 2),
                            digits(at.day, 2), digits(at.hour, 2), digits(at.minute, 2),
                            digits(at.second, 2), milliseconds_text);
  });
  const PlcTime shown = read_clock(plc);
  const auto passed = std::chrono::steady_clock::now() - start;
  const auto expected = time + std::chrono::floor<milliseconds>(passed);
  if (std::chrono::abs(shown - expected) > kTolerance) {
    throw Failure("setting the clock: the PLC has not taken " + iso_text(time) +
                  ", its clock shows " + iso_text(shown) +
                  "; the protection level, or a clock that is set by another, may be why");
  }
}

}  // namespace plexum::cli
