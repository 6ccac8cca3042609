#pragma once

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "sim/bytes.h"

namespace plexum::sim {

// Bytes from hexadecimal digits; blanks and | are for the reader. "..." in single quotes stands
// for its characters.
inline Bytes hex(std::string_view text) {
  Bytes bytes;
  int digits = 0;
  unsigned value = 0;
  bool quoted = false;
  for (const char c : text) {
    if (c == '\'') {
      quoted = !quoted;
    } else if (quoted) {
      bytes.push_back(static_cast<std::uint8_t>(c));
    } else if (std::isxdigit(static_cast<unsigned char>(c))) {
      const unsigned digit = static_cast<unsigned>(
          std::isdigit(static_cast<unsigned char>(c)) ? c - '0' : (c | 0x20) - 'a' + 10);
      value = value << 4 | digit;
      if (++digits % 2 == 0) bytes.push_back(static_cast<std::uint8_t>(value));
    }
  }
  return bytes;
}

// The other way: "03 00 00 16".
inline std::string dump(ByteView bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) {
    char digits[4];
    std::snprintf(digits, sizeof digits, "%s%02X", text.empty() ? "" : " ", byte);
    text += digits;
  }
  return text;
}

// The same spacing for what a test expects.
inline std::string dump(std::string_view text) { return dump(ByteView(hex(text))); }

}  // namespace plexum::sim
