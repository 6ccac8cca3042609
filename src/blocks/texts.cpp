#include "blocks/texts.h"

#include <charconv>
#include <system_error>

namespace plexum {

std::string characters_from(const std::string& text, std::size_t offset, std::size_t count) {
  // Where the character `number` characters behind `start` begins.
  const auto skip = [&](std::size_t start, std::size_t number) {
    const auto continues = [](char byte) {
      return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
    };
    std::size_t at = start;
    for (; number > 0 && at < text.size(); --number) {
      do ++at;
      while (at < text.size() && continues(text[at]));
    }
    return at;
  };
  const std::size_t begin = skip(0, offset);
  return text.substr(begin, skip(begin, count) - begin);
}

std::string fillzero(const std::string& text, std::size_t width) {
  const std::size_t first = text.find_first_not_of(' ');
  const std::size_t last = text.find_last_not_of(' ');
  const std::string digits =
      first == std::string::npos ? std::string() : text.substr(first, last - first + 1);
  return digits.size() < width ? std::string(width - digits.size(), '0') + digits : digits;
}

std::string beyttohex(std::uint8_t byte) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  return {kDigits[byte >> 4], kDigits[byte & 0x0F]};
}

std::int32_t hextowert(const std::string& text) {
  const std::string prefix = text.substr(0, 2);
  const bool prefixed = prefix == "0x" || prefix == "0X" || prefix == "&h" || prefix == "&H";
  const char* const digits = text.data() + (prefixed ? 2 : 0);
  std::uint32_t number = 0;
  const auto read = std::from_chars(digits, text.data() + text.size(), number, 16);
  return read.ec == std::errc() ? static_cast<std::int32_t>(number) : 0;
}

}  // namespace plexum
