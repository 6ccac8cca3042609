#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "base/host_environment.h"

namespace plexum {

// Bytes and the numbers that telegrams carry, big-endian.

// The byte of a code; error 5 for a code outside 0 to 255.
char byte_from_code(double code);

// The code (0 to 255) of the byte at `index`; error 5 past the end.
std::int32_t code_at(const std::string& bytes, std::size_t index);

// The 16-bit number in the two bytes from `index` on; error 5 past the end.
std::int32_t word_at(const std::string& bytes, std::size_t index);

// Everything from `offset` on, at most `count` bytes; nothing when the text is shorter.
std::string bytes_from(const std::string& bytes, std::size_t offset,
                       std::size_t count = std::string::npos);

// The two bytes of a number from 0 to 65535, rounded half to even below a byte's border: 2.5 is
// 00 02, but 255.7 has no low byte. Error 5 for other numbers, 6 for one far beyond 32 bits.
std::string word_bytes(double number);

// The same of the integer part of the number in a text.
std::string integer_part_bytes(const std::string& text, HostEnvironment& environment);

// The conversions of the control's interface; what each makes of its arguments stands at the
// members of PlexumLink.
std::string wordtobeyt(const std::string& wert, HostEnvironment& environment);
std::string dwordtobeyt(std::string& wert, HostEnvironment& environment);
std::string wordtobeytadd(std::string& wert, HostEnvironment& environment);
std::string beyttoword(std::string& wert1, std::string& wert2, HostEnvironment& environment);
std::int32_t xor_str(const std::string& strlan);

}  // namespace plexum
