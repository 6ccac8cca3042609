#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace plexum {

// The bytes of a telegram as they are read in a dump, made when compiled:
//   TPKT (4)     COTP (3)   S7 header (10)                  parameter | data
//   "03 00 00 21 | 02 F0 80 | 32 01 00 00 03 00 00 10 00 00 | 29 ..."_hex
// Blanks and bars are for the reader; anything else but pairs of hexadecimal digits doesn't
// compile.
template <std::size_t N>
struct HexText {
  char text[N];

  // Not explicit: the literal operator's argument becomes one.
  consteval HexText(const char (&literal)[N]) {  // NOLINT(google-explicit-constructor)
    std::copy_n(literal, N, text);
  }

  static constexpr int digit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    throw "not a hexadecimal digit";
  }

  [[nodiscard]] constexpr std::size_t byte_count() const {
    std::size_t digits = 0;
    for (const char c : text) digits += c != ' ' && c != '|' && c != '\0' ? 1 : 0;
    return digits / 2;
  }
};

template <HexText Text>
consteval auto operator""_hex() {
  std::array<char, Text.byte_count()> bytes{};
  std::size_t written = 0;
  int high = -1;
  for (const char c : Text.text) {
    if (c == ' ' || c == '|' || c == '\0') {
      if (high >= 0) throw "half a byte";
      continue;
    }
    const int digit = HexText<1>::digit(c);
    if (high < 0) {
      high = digit;
    } else {
      bytes[written++] = static_cast<char>(static_cast<unsigned char>(high * 16 + digit));
      high = -1;
    }
  }
  return bytes;
}

// The length that a telegram's TPKT header declares (RFC 1006: bytes 2 and 3, header included).
template <std::size_t N>
consteval std::size_t tpkt_length(const std::array<char, N>& telegram) {
  return static_cast<std::size_t>(static_cast<unsigned char>(telegram[2])) * 256 +
         static_cast<unsigned char>(telegram[3]);
}

template <std::size_t N>
std::string to_string(const std::array<char, N>& bytes) {
  return {bytes.begin(), bytes.end()};
}

// Where an acknowledgement (message type 3) holds the outcome of its job.
inline constexpr std::size_t kErrorClass = 17;
inline constexpr std::size_t kErrorCode = 18;

// The outcome of an answer as one number: the decimal digits of the error class followed by those
// of the error code, so class 0x85 and code 0 (133 and 0) are 1330. Error 5 for an answer that
// ends before its error code.
std::int32_t error_number(const std::string& answer);

}  // namespace plexum
