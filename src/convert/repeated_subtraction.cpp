#include "convert/repeated_subtraction.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "base/runtime_error.h"

namespace plexum {
namespace {

constexpr int kDigits = 15;        // what a number keeps on its way through a text
constexpr double kEndless = 1E20;  // above, a difference of 65536 is lost in the rounding
constexpr std::int64_t kLeastDigits = 100'000'000'000'000;  // the smallest number of 15 digits

// A number as its text shows it: `digits` (15 of them) times ten to the `exponent`.
struct Decimal {
  std::int64_t digits;
  int exponent;
};

using Text = std::array<char, 32>;

// d.dddddddddddddde+xx; returns the end.
char* write(Text& text, double number) {
  return std::to_chars(text.data(), text.data() + text.size(), number,
                       std::chars_format::scientific, kDigits - 1)
      .ptr;
}

// One pass of the loop: what is left comes back from its text.
double take_word(double number) {
  Text text;
  const char* const end = write(text, number - 65536);
  double rest = 0;
  std::from_chars(text.data(), end, rest);
  return rest;
}

Decimal decimal_of(double number) {
  Text text;
  const char* const end = write(text, number);
  const char* const exponent = std::find<const char*>(text.data(), end, 'e') + 1;
  Decimal decimal{};
  std::from_chars(*exponent == '+' ? exponent + 1 : exponent, end, decimal.exponent);
  decimal.exponent -= kDigits - 1;
  text[1] = text[0];  // closes the gap that the point leaves
  std::from_chars(text.data() + 1, exponent - 1, decimal.digits);
  return decimal;
}

// Exact, and so rounded once, for the powers that occur here (-10 to 6).
double double_of(Decimal decimal) {
  const auto digits = static_cast<double>(decimal.digits);
  const double power = std::pow(10.0, std::abs(decimal.exponent));
  return decimal.exponent < 0 ? digits / power : digits * power;
}

// A stretch is a run of passes that all round alike: the last digit of every text stands at the
// same place, and the doubles lie equally far apart. This is its lower end, in units of that last
// digit.
std::int64_t end_of_stretch(double number, int exponent, double least) {
  const double unit = double_of({1, exponent});
  double end = least / unit;
  if (exponent > 0) end = std::max(end, std::scalbn(1.0, std::ilogb(number)) / unit);
  return std::max(kLeastDigits, static_cast<std::int64_t>(end) + 1);
}

// Takes words from `number` one by one until it is clear what each pass takes, then all the words
// of the stretch but the last few at once. Returns how many it took.
//
// An example: of 3000000, whose text has its 15th digit eight places behind the point, a pass takes
// exactly 65536, and so does every pass down to 1000000, from where texts have one more place.
// After one pass, at 2934464, there is room for 29 more; the leap takes 28 and ends at 1099456. The
// caller goes on from there, in smaller and smaller stretches.
//
// Above 1E15 the 15th digit stands for tens or more: of 1.00000654E15 a pass takes 6553 or 6554
// tens, as the doubles round. How they round depends on the last binary places of the number only.
// Once the passes have taken a multiple of 512 units these places are what they were, and the same
// passes follow again: the leap repeats them. Where 512 passes show no such multiple, none is
// leapt; the next call starts from other places.
double walk_and_leap(double& number, double least) {
  // Doubles below 1E20 lie at most 16384 = 512 * 2^5 apart, and a unit has the factor 2^5 there.
  constexpr std::int64_t kPlaces = 512;
  const Decimal start = decimal_of(number);
  for (std::int64_t passes = 1;; ++passes) {
    number = take_word(number);
    const Decimal now = decimal_of(number);
    if (number < least || now.exponent != start.exponent) return static_cast<double>(passes);
    const std::int64_t taken = start.digits - now.digits;
    if (start.exponent > 0 && taken % kPlaces != 0) {
      if (passes == kPlaces) return static_cast<double>(passes);
      continue;
    }
    const std::int64_t room = now.digits - end_of_stretch(number, now.exponent, least);
    const std::int64_t leaps = std::max<std::int64_t>(0, room / taken - 1);
    number = double_of({now.digits - leaps * taken, now.exponent});
    return static_cast<double>(passes * (leaps + 1));
  }
}

}  // namespace

double take_words(std::string& wert, HostEnvironment& environment, double least) {
  double number = environment.number_from_text(wert);
  if (number < least) return 0;
  // The host may have written more digits than a text keeps; every rest has 15.
  number = take_word(number);
  double passes = 1;
  if (number > kEndless) throw RuntimeError(kInvalidArgument);
  while (number >= least) passes += walk_and_leap(number, least);
  wert = environment.text_from_number(number);
  return passes;
}

}  // namespace plexum
