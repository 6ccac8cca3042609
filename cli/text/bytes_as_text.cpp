#include "cli/text/bytes_as_text.h"

#include <cstddef>

namespace plexum::cli {

std::string text_from_bytes(const std::string& bytes) {
  std::string text;
  text.reserve(bytes.size());
  for (const char c : bytes) {
    const auto code = static_cast<unsigned char>(c);
    if (code < 0x80) {
      text += c;
    } else {
      text += static_cast<char>(0xC0 | code >> 6);
      text += static_cast<char>(0x80 | (code & 0x3F));
    }
  }
  return text;
}

std::optional<std::string> bytes_from_text(const std::string& text) {
  std::string bytes;
  bytes.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto lead = static_cast<unsigned char>(text[i]);
    if (lead < 0x80) {
      bytes += text[i];
    } else if ((lead == 0xC2 || lead == 0xC3) && i + 1 < text.size()) {
      const auto rest = static_cast<unsigned char>(text[++i]);
      bytes += static_cast<char>((lead & 0x03) << 6 | (rest & 0x3F));
    } else {
      return std::nullopt;
    }
  }
  return bytes;
}

std::string hex_dump(const std::string& bytes) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string dump;
  dump.reserve(bytes.size() * 3);
  for (const char c : bytes) {
    const auto code = static_cast<unsigned char>(c);
    if (!dump.empty()) dump += ' ';
    dump += kDigits[code >> 4];
    dump += kDigits[code & 0x0F];
  }
  return dump;
}

}  // namespace plexum::cli
