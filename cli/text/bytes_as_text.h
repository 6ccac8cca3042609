#pragma once

#include <optional>
#include <string>

namespace plexum::cli {

// A byte string as a text of the characters U+0000 to U+00FF, one a byte, in UTF-8.
std::string text_from_bytes(const std::string& bytes);

// The inverse; nothing for a text with any other character. `text` is valid UTF-8.
std::optional<std::string> bytes_from_text(const std::string& text);

// "03 00 00 1F".
std::string hex_dump(const std::string& bytes);

}  // namespace plexum::cli
