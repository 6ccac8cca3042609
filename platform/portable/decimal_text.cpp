#include "platform/portable/decimal_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <system_error>

#include "base/runtime_error.h"

namespace plexum::portable {
namespace {

constexpr double kLargestPlainInteger = 999999999999999;  // 15 digits

bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_blank(char c) { return c == ' ' || c == '\t'; }

std::string_view without_blanks(std::string_view text) {
  while (!text.empty() && is_blank(text.front())) text.remove_prefix(1);
  while (!text.empty() && is_blank(text.back())) text.remove_suffix(1);
  return text;
}

// Takes the digits at the front of a text.
std::string_view take_digits(std::string_view& text) {
  const auto end = std::find_if_not(text.begin(), text.end(), is_digit);
  const std::string_view digits = text.substr(0, static_cast<std::size_t>(end - text.begin()));
  text.remove_prefix(digits.size());
  return digits;
}

bool take(std::string_view& text, char c) {
  if (text.empty() || text.front() != c) return false;
  text.remove_prefix(1);
  return true;
}

// An exponent's value. It is cut where no text that fits into memory has digits enough to make up
// for it.
std::int64_t exponent_value(std::string_view digits, bool negative) {
  constexpr std::int64_t kFarAway = std::int64_t{1} << 48;
  std::int64_t value = 0;
  for (const char digit : digits) value = std::min(value * 10 + (digit - '0'), kFarAway);
  return negative ? -value : value;
}

// The power of ten of the first digit that isn't 0. If it is far from 0 only its sign is exact.
std::int64_t magnitude(std::string_view whole, std::string_view fraction, std::int64_t exponent) {
  const auto is_significant = [](char digit) { return digit != '0'; };
  const auto first = std::find_if(whole.begin(), whole.end(), is_significant);
  if (first != whole.end()) return exponent + (whole.end() - first) - 1;
  const auto behind = std::find_if(fraction.begin(), fraction.end(), is_significant);
  return exponent - (behind - fraction.begin()) - 1;
}

// The number of a text of 1 to 15 digits and nothing else; -1 for any other text.
double plain_number(std::string_view text) {
  constexpr std::size_t kMostDigits = 15;
  if (text.empty() || text.size() > kMostDigits) return -1;
  std::int64_t number = 0;
  for (const char c : text) {
    if (!is_digit(c)) return -1;
    number = number * 10 + (c - '0');
  }
  return static_cast<double>(number);
}

// Where a text with a negative exponent, 1.25e-05, needs at most 15 decimals: 0.0000125. Else the
// text as it is.
std::string with_plain_decimals(std::string_view text) {
  constexpr int kMostDecimals = 15;
  const std::size_t mark = text.find("e-");
  if (mark == std::string_view::npos) return std::string(text);
  int exponent = 0;
  std::from_chars(text.data() + mark + 2, text.data() + text.size(), exponent);
  const bool negative = text.front() == '-';
  std::string digits;
  std::copy_if(text.begin() + (negative ? 1 : 0), text.begin() + static_cast<std::ptrdiff_t>(mark),
               std::back_inserter(digits), is_digit);
  const int decimals = exponent + static_cast<int>(digits.size()) - 1;
  const bool excepted = digits == "1" && exponent == kMostDecimals;
  if (decimals > kMostDecimals || excepted) return std::string(text);
  digits.insert(0, static_cast<std::size_t>(exponent - 1), '0');
  return (negative ? "-0." : "0.") + digits;
}

}  // namespace

double number_from_text(std::string_view text, char separator) {
  // The usual case, many times faster.
  if (const double number = plain_number(text); number >= 0) return number;
  std::string_view rest = without_blanks(text);
  const bool negative = take(rest, '-');
  if (!negative) take(rest, '+');

  const std::string_view unsigned_text = rest;
  const std::string_view whole = take_digits(rest);
  const bool has_separator = take(rest, separator);
  const std::string_view fraction = has_separator ? take_digits(rest) : std::string_view();
  if (whole.empty() && fraction.empty()) throw RuntimeError(kTypeMismatch);

  std::int64_t exponent = 0;
  if (take(rest, 'E') || take(rest, 'e')) {
    const bool down = take(rest, '-');
    if (!down) take(rest, '+');
    const std::string_view digits = take_digits(rest);
    if (digits.empty()) throw RuntimeError(kTypeMismatch);
    exponent = exponent_value(digits, down);
  }
  if (!rest.empty()) throw RuntimeError(kTypeMismatch);

  double number = 0;
  std::from_chars_result result{};
  if (has_separator && separator != '.') {
    std::string with_point(unsigned_text);
    with_point[whole.size()] = '.';
    result = std::from_chars(with_point.data(), with_point.data() + with_point.size(), number);
  } else {
    result =
        std::from_chars(unsigned_text.data(), unsigned_text.data() + unsigned_text.size(), number);
  }
  if (result.ec == std::errc::result_out_of_range || std::isinf(number)) {
    if (magnitude(whole, fraction, exponent) > 0) throw RuntimeError(kOverflow);
    number = 0;
  }
  return negative && number != 0 ? -number : number;
}

std::string text_from_number(double number, char separator) {
  if (!std::isfinite(number)) throw RuntimeError(kOverflow);
  std::array<char, 32> text;
  char* end = text.data();
  if (std::abs(number) <= kLargestPlainInteger && number == std::trunc(number)) {
    // The usual case, many times faster; -0 loses its sign on the way.
    end = std::to_chars(text.data(), text.data() + text.size(), static_cast<std::int64_t>(number))
              .ptr;
  } else {
    end = std::to_chars(text.data(), text.data() + text.size(), number, std::chars_format::general,
                        15)
              .ptr;
    std::string decimals = with_plain_decimals({text.data(), end});
    std::replace(decimals.begin(), decimals.end(), '.', separator);
    std::replace(decimals.begin(), decimals.end(), 'e', 'E');
    return decimals;
  }
  return {text.data(), end};
}

}  // namespace plexum::portable
