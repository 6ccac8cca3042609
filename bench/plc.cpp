#include "bench/plc.h"

#include <cstddef>
#include <initializer_list>

namespace plexum::bench {
namespace {

std::string bytes(std::initializer_list<int> codes) {
  std::string result;
  for (const int code : codes) result += static_cast<char>(code);
  return result;
}

std::string word(std::size_t value) {
  return {static_cast<char>(value >> 8 & 0xFF), static_cast<char>(value & 0xFF)};
}

std::size_t word_at(const std::string& telegram, std::size_t offset) {
  return static_cast<std::size_t>(static_cast<unsigned char>(telegram[offset])) << 8 |
         static_cast<unsigned char>(telegram[offset + 1]);
}

std::string acknowledgement(const std::string& reference, const std::string& parameter,
                            const std::string& data) {
  std::string rest = bytes({0x02, 0xF0, 0x80, 0x32, 0x03, 0x00, 0x00}) + reference +
                     word(parameter.size()) + word(data.size()) + bytes({0, 0}) + parameter + data;
  return bytes({3, 0}) + word(rest.size() + 4) + rest;
}

}  // namespace

std::string answer_to(const std::string& telegram, std::uint16_t pdu) {
  constexpr std::size_t kKind = 5, kReference = 11, kFunction = 17, kCount = 23;
  constexpr std::size_t kShortest = 22;
  if (telegram.size() < kShortest) return {};
  if (telegram[kKind] == '\xE0') {
    return bytes({0x03, 0x00, 0x00, 0x16, 0x11, 0xD0, 0x00, 0x2E, 0x00, 0x03, 0x00,
                  0xC0, 0x01, 0x09, 0xC1, 0x02, 0x01, 0x00, 0xC2, 0x02, 0x03, 0x02});
  }
  const std::string reference = telegram.substr(kReference, 2);
  switch (telegram[kFunction]) {
    case '\xF0':
      return acknowledgement(reference, bytes({0xF0, 0, 0, 3, 0, 3}) + word(pdu), {});
    case '\x04': {
      if (telegram.size() < kCount + 2) return {};
      std::string data = bytes({0xFF, 0x04}) + word(8 * word_at(telegram, kCount));
      for (std::size_t i = word_at(telegram, kCount); i > 0; --i) {
        data += static_cast<char>((data.size() - 3) & 0x7F);
      }
      return acknowledgement(reference, bytes({0x04, 1}), data);
    }
    case '\x05':
      return acknowledgement(reference, bytes({0x05, 1}), bytes({0xFF}));
    default:
      return {};
  }
}

}  // namespace plexum::bench
