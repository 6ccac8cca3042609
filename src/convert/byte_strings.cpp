#include "convert/byte_strings.h"

#include <cmath>

#include "base/integers.h"
#include "base/runtime_error.h"
#include "convert/repeated_subtraction.h"

namespace plexum {
namespace {

// The low byte of a number's integer part. The integer part passes through a 32-bit integer, so
// one beyond that range is an overflow.
std::int32_t low_byte(double number) { return to_int32(std::floor(number)) & 255; }

}  // namespace

char byte_from_code(double code) {
  if (!(code >= 0 && code <= 255)) throw RuntimeError(kInvalidArgument);
  return static_cast<char>(static_cast<unsigned char>(code));
}

std::int32_t code_at(const std::string& bytes, std::size_t index) {
  if (index >= bytes.size()) throw RuntimeError(kInvalidArgument);
  return static_cast<unsigned char>(bytes[index]);
}

std::int32_t word_at(const std::string& bytes, std::size_t index) {
  const std::int32_t high = code_at(bytes, index);
  return 256 * high + code_at(bytes, index + 1);
}

std::string bytes_from(const std::string& bytes, std::size_t offset, std::size_t count) {
  return offset < bytes.size() ? bytes.substr(offset, count) : std::string();
}

std::string word_bytes(double number) {
  const std::int32_t high = low_byte(number / 256);
  // Only the high byte is masked: what it loses of a value above 65535 is left in the low one,
  // which then is no byte. Rounding, too, happens here alone (255.7 fails).
  const std::int32_t low = to_int32(number - high * 256);
  return {byte_from_code(high), byte_from_code(low)};
}

std::string integer_part_bytes(const std::string& text, HostEnvironment& environment) {
  return word_bytes(std::floor(environment.number_from_text(text)));
}

std::string wordtobeyt(const std::string& wert, HostEnvironment& environment) {
  return word_bytes(environment.number_from_text(wert));
}

std::string dwordtobeyt(std::string& wert, HostEnvironment& environment) {
  const double words = take_words(wert, environment, 65536);
  const std::int32_t low = to_int32(environment.number_from_text(wert));
  const double high_byte = std::fmod(std::floor(words / 256), 256);
  const std::int32_t low_high_byte = low_byte(low / 256.0);
  return {byte_from_code(high_byte), byte_from_code(words - 256 * high_byte),
          byte_from_code(low_high_byte), byte_from_code(low - 256.0 * low_high_byte)};
}

std::string wordtobeytadd(std::string& wert, HostEnvironment& environment) {
  // Words are taken from every number above 65534, so from 65535, too: its rest is -1, whose bytes
  // are FF FF again behind a first byte of 1.
  static const double kLeast = std::nextafter(65534.0, 65535.0);
  const double words = take_words(wert, environment, kLeast);
  const double rest = environment.number_from_text(wert);
  const std::int32_t high = low_byte(rest / 256);
  // A 16-bit product: from 32768 on it is negative, and the low byte overflows. A host can't
  // encode these addresses.
  const std::int32_t high_part = high < 128 ? high * 256 : high * 256 - 65536;
  const std::int16_t low = to_int16(rest - high_part);
  return {byte_from_code(words), byte_from_code(high), byte_from_code(low)};
}

std::string beyttoword(std::string& wert1, std::string& wert2, HostEnvironment& environment) {
  wert1 = environment.text_from_number(code_at(wert1, 0));
  wert2 = environment.text_from_number(code_at(wert2, 0));
  wert1 = environment.text_from_number(environment.number_from_text(wert1) * 256);
  // The two numbers are joined as texts, not added: bytes 1 and 2 make "2256".
  wert2 += wert1;
  if (environment.number_from_text(wert2) > 32767)
    wert2 = environment.text_from_number(environment.number_from_text(wert2) - 65536);
  return wert2;
}

std::int32_t xor_str(const std::string& strlan) {
  std::int32_t folded = 0;
  for (const char character : strlan) folded ^= static_cast<unsigned char>(character);
  return folded;
}

}  // namespace plexum
