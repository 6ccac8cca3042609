#include "convert/float_bits.h"

#include <cmath>

#include "convert/byte_strings.h"

namespace plexum {
namespace {

constexpr int kExponentBias = 127;
constexpr int kMantissaBits = 23;

// 8 bits as text, most significant first; a message box and an empty text from 256 on.
std::string bits_from_byte(std::int32_t value, HostEnvironment& environment) {
  if (value >= 256) {
    environment.show_message_box(
        "Zahl ist gr\xC3\xB6\xC3\x9F"
        "er als 8 Bit");
    return {};
  }
  std::string bits;
  std::int32_t weight = 1;
  do {
    bits.insert(bits.begin(), (value & weight) != 0 ? '1' : '0');
    weight *= 2;
  } while (weight <= value);
  // A negative value ends after one bit: its exponent field means nothing to a PLC.
  if (bits.size() < 8) bits.insert(0, 8 - bits.size(), '0');
  return bits;
}

}  // namespace

double number_from_bits(const std::string& bits) {
  double value = 0;
  for (const char bit : bits) value = value * 2 + (bit == '1' ? 1 : 0);
  return value;
}

// The bits are made by arithmetic on decimal texts, not by the processor's conversion: the
// remainder passes through a text of 15 digits at every bit set, and what is left after 23 bits is
// cut off, never rounded. `wert` holds that remainder all the while.
std::string flottobeyt(std::string& wert, HostEnvironment& environment) {
  double high = 0;
  double low = 0;
  const double value = environment.number_from_text(wert);
  if (value != 0) {
    std::string bits = "0";
    if (value < 0) {
      wert = environment.text_from_number(-value);
      bits = "1";
    }
    const double magnitude = environment.number_from_text(wert);
    const int exponent = std::ilogb(magnitude);
    wert = environment.text_from_number(magnitude / std::exp2(exponent) - 1);
    bits += bits_from_byte(exponent + kExponentBias, environment);
    for (int bit = 1; bit <= kMantissaBits; ++bit) {
      const double rest = environment.number_from_text(wert) - std::exp2(-bit);
      if (rest < 0) {
        bits += '0';
      } else {
        wert = environment.text_from_number(rest);
        bits += '1';
      }
    }
    // Without exponent bits (a magnitude of 2^129 or more) there are only 24: the second half is
    // short, and the bytes mean nothing.
    high = number_from_bits(bytes_from(bits, 0, 16));
    low = number_from_bits(bytes_from(bits, 16, 16));
  }
  return word_bytes(high) + word_bytes(low);
}

}  // namespace plexum
