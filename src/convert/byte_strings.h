#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace plexum {

// The byte of a code; error 5 for a code outside 0 to 255.
char byte_from_code(double code);

// The code (0 to 255) of the byte at `index`; error 5 past the end.
std::int32_t code_at(const std::string& bytes, std::size_t index);

// Everything from `offset` on, at most `count` bytes; nothing when the text is shorter.
std::string bytes_from(const std::string& bytes, std::size_t offset,
                       std::size_t count = std::string::npos);

}  // namespace plexum
