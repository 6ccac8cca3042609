#pragma once

#include <cctype>
#include <cstdio>
#include <string>
#include <string_view>

namespace plexum::test {

// "03 00 | F0" to bytes; what is no hexadecimal digit is for the reader, 'text' in quotes stands
// for its characters.
inline std::string bytes(std::string_view hex) {
  std::string result;
  std::string digits;
  bool quoted = false;
  for (const char c : hex) {
    if (c == '\'') {
      quoted = !quoted;
    } else if (quoted) {
      result += c;
    } else if (std::isxdigit(static_cast<unsigned char>(c)) != 0) {
      digits += c;
      if (digits.size() < 2) continue;
      result += static_cast<char>(std::stoi(digits, nullptr, 16));
      digits.clear();
    }
  }
  return result;
}

// Bytes as "03 00 F0".
inline std::string hex(const std::string& data) {
  std::string result;
  for (const char c : data) {
    char pair[4];
    std::snprintf(pair, sizeof pair, "%02X", static_cast<unsigned char>(c));
    result += result.empty() ? "" : " ";
    result += pair;
  }
  return result;
}

}  // namespace plexum::test
