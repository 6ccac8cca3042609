// The PLC's clock (userdata, time functions). Date and time travel as BCD bytes, and so as the
// hexadecimal digits of texts. Neither member sees an error in the PLC's answer.

#include "blocks/clock.h"

#include "base/runtime_error.h"
#include "blocks/texts.h"
#include "convert/byte_strings.h"
#include "protocol/telegram.h"

namespace plexum {
namespace {

constexpr auto kReadClock =
    "03 00 00 1D | 02 F0 80 | 32 07 00 00 00 0D 00 08 00 04 | 00 01 12 04 11 47 01 00"
    "| 0A 00 00 00"_hex;
static_assert(tpkt_length(kReadClock) == kReadClock.size());
constexpr double kReadAnswerLength = 43;

// A reserved byte ends the head; nine BCD bytes follow.
constexpr auto kSetClock =
    "03 00 00 27 | 02 F0 80 | 32 07 00 00 00 0C 00 08 00 0E | 00 01 12 04 11 47 02 00"
    "| FF 09 00 0A 00"_hex;
static_assert(tpkt_length(kSetClock) == kSetClock.size() + 9);
constexpr double kSetAnswerLength = 33;

// Where the answer has its date and time: century, year, month, day, hour, minute, second,
// milliseconds (two digits), their last digit with the weekday.
constexpr std::size_t kCentury = 34;

// `count` BCD bytes of the answer as digits; error 9 where it ends before them.
std::string digits(const std::string& answer, std::size_t index, std::size_t count) {
  std::string text;
  for (std::size_t i = index; i < index + count; ++i) {
    if (i >= answer.size()) throw RuntimeError(kSubscriptOutOfRange);
    text += beyttohex(static_cast<std::uint8_t>(code_at(answer, i)));
  }
  return text;
}

char bcd_byte(const std::string& digits) { return byte_from_code(hextowert(digits)); }

}  // namespace

Value pg_ReadClock(RequestCycle& cycle) {
  if (!cycle.guard_and_begin()) return {};
  const std::string answer =
      cycle.exchange_with_repeats([] { return to_string(kReadClock); }, kReadAnswerLength);
  cycle.inuse = false;
  VariantArray texts;
  texts.elements.emplace_back(digits(answer, kCentury, 2));
  for (std::size_t index = kCentury + 2; index < kCentury + 7; ++index) {
    texts.elements.emplace_back(digits(answer, index, 1));
  }
  texts.elements.emplace_back(digits(answer, kCentury + 7, 2));
  cycle.err = 0;  // a time-out shows in s7init and auftrag_Fehler only
  return texts;
}

Value pg_SetClock(RequestCycle& cycle, const std::string& strYear, const std::string& strMonth,
                  const std::string& strDay, const std::string& strHour,
                  const std::string& strMinute, const std::string& strSecond,
                  const std::string& strMsec) {
  if (!cycle.guard_and_begin()) return {};
  const auto telegram = [&] {
    // The first two digits of the milliseconds go out twice; the last digit and the weekday are
    // the PLC's to make of that.
    const char milliseconds = bcd_byte(characters_from(strMsec, 0, 2));
    const std::string fields = {bcd_byte(characters_from(strYear, 0, 2)),
                                bcd_byte(characters_from(strYear, 2, 2)),
                                bcd_byte(strMonth),
                                bcd_byte(strDay),
                                bcd_byte(strHour),
                                bcd_byte(strMinute),
                                bcd_byte(strSecond),
                                milliseconds,
                                milliseconds};
    return to_string(kSetClock) + fields;
  };
  cycle.exchange_with_repeats(telegram, kSetAnswerLength);
  cycle.err = 0;
  return {};
}

}  // namespace plexum
