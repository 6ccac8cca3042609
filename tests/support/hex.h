#pragma once

#include <cstdio>
#include <string>

namespace plexum::test {

// "03 00 | F0" to bytes; blanks and bars are for the reader.
inline std::string bytes(const std::string& hex) {
  std::string digits;
  for (const char c : hex) {
    if (c != ' ' && c != '|') digits += c;
  }
  std::string result;
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
    result += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
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
