#pragma once

#include <cstdint>
#include <random>
#include <string>

namespace plexum::test {

// A whole block image of `size` bytes, the 36 of its header included: random contents, all of them
// code or, as far as the header can tell lengths, data.
inline std::string block_image(std::uint8_t type, std::uint16_t number, std::size_t size,
                               unsigned seed = 1) {
  constexpr std::size_t kHeader = 36;
  constexpr std::size_t kLongestSection = 0xFFFE;
  std::mt19937 random(seed);
  std::string image;
  while (image.size() < size) image += static_cast<char>(random() & 0xFF);
  const auto put = [&](std::size_t offset, std::size_t bytes, std::size_t number_there) {
    for (std::size_t i = 0; i < bytes; ++i) {
      image[offset + i] = static_cast<char>(number_there >> 8 * (bytes - 1 - i) & 0xFF);
    }
  };
  put(0, 4, 0x70700101);
  put(4, 1, 5);  // language
  put(5, 1, type);
  put(6, 2, number);
  put(8, 4, size);
  put(28, 2, 0);  // interface
  put(30, 2, 0);  // segments
  put(34, 2, size - kHeader < kLongestSection ? size - kHeader : kLongestSection);
  return image;
}

}  // namespace plexum::test
