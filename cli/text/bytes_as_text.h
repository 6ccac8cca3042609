#pragma once

#include <optional>
#include <string>

namespace plexum::cli {

// Bytes as a text in UTF-8 that has one character, U+0000 to U+00FF, for each byte.
std::string text_from_bytes(const std::string& bytes);

// The inverse; nothing for a text with any other character. `text` is valid UTF-8.
std::optional<std::string> bytes_from_text(const std::string& text);

// "03 00 00 1F".
std::string hex_dump(const std::string& bytes);

}  // namespace plexum::cli
