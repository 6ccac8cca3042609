#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace plexum {

// The texts by which block and clock telegrams carry their numbers.

// At most `count` characters of a UTF-8 text from the character at `offset` on.
std::string characters_from(const std::string& text, std::size_t offset, std::size_t count);

// `text` without the blanks around it, with zeros in front up to `width` characters.
std::string fillzero(const std::string& text, std::size_t width);

// A byte as two hexadecimal digits in upper case.
std::string beyttohex(std::uint8_t byte);

// The number that a text's hexadecimal digits make, up to the first character that is none; "0x"
// and "&H" in front (in either case) are passed over. Decimal digits so make their BCD byte. 0 for
// a text without digits and for one of more than 32 bits.
std::int32_t hextowert(const std::string& text);

}  // namespace plexum
