#include "convert/byte_strings.h"

#include <cmath>

#include "base/integers.h"
#include "base/runtime_error.h"
#include "control/plexum_link.h"
#include "convert/repeated_subtraction.h"

namespace plexum {
namespace {

// The low byte of a number's integer part. The integer part passes through a 32-bit integer, so
// one beyond that range is an overflow.
std::int32_t low_byte(double number) { return to_long(std::floor(number)) & 255; }

}  // namespace

char byte_from_code(double code) {
  if (!(code >= 0 && code <= 255)) throw RuntimeError(kInvalidArgument);
  return static_cast<char>(static_cast<unsigned char>(code));
}

std::int32_t code_at(const std::string& bytes, std::size_t index) {
  if (index >= bytes.size()) throw RuntimeError(kInvalidArgument);
  return static_cast<unsigned char>(bytes[index]);
}

std::string bytes_from(const std::string& bytes, std::size_t offset, std::size_t count) {
  return offset < bytes.size() ? bytes.substr(offset, count) : std::string();
}

std::string PlexumLink::wordtobeyt(const std::string& wert) {
  const double value = number(wert);
  const std::int32_t high = low_byte(value / 256);
  // Only the high byte is masked: what it loses of a value above 65535 is left in the low one,
  // which then is no byte. Rounding, too, happens here alone (255.7 fails).
  const std::int32_t low = to_long(value - high * 256);
  return {byte_from_code(high), byte_from_code(low)};
}

std::string PlexumLink::dwordtobeyt(std::string& wert) {
  const double words = take_words(wert, environment_, 65536);
  const std::int32_t low = to_long(number(wert));
  const double high_byte = std::fmod(std::floor(words / 256), 256);
  const std::int32_t low_high_byte = low_byte(low / 256.0);
  return {byte_from_code(high_byte), byte_from_code(words - 256 * high_byte),
          byte_from_code(low_high_byte), byte_from_code(low - 256.0 * low_high_byte)};
}

std::string PlexumLink::wordtobeytadd(std::string& wert) {
  // Words are taken from all numbers above 65534, so 65535 goes one pass further than it has to,
  // to a rest of -1, whose bytes are FF FF again.
  static const double kLeast = std::nextafter(65534.0, 65535.0);
  const double words = take_words(wert, environment_, kLeast);
  const double rest = number(wert);
  const std::int32_t high = low_byte(rest / 256);
  // A 16-bit product: from 32768 on it is negative, and the low byte overflows. A host can't
  // encode these addresses.
  const std::int32_t high_part = high < 128 ? high * 256 : high * 256 - 65536;
  const std::int16_t low = to_integer(rest - high_part);
  return {byte_from_code(words), byte_from_code(high), byte_from_code(low)};
}

std::string PlexumLink::beyttoword(std::string& wert1, std::string& wert2) {
  wert1 = text(code_at(wert1, 0));
  wert2 = text(code_at(wert2, 0));
  wert1 = text(number(wert1) * 256);
  // The two numbers are joined as texts, not added: bytes 1 and 2 make "2256".
  wert2 += wert1;
  if (number(wert2) > 32767) wert2 = text(number(wert2) - 65536);
  return wert2;
}

std::int32_t PlexumLink::xor_str(const std::string& strlan) {
  std::int32_t folded = 0;
  for (const char character : strlan) folded ^= static_cast<unsigned char>(character);
  return folded;
}

}  // namespace plexum
