#include "cli/watching/trace_notes.h"

#include <algorithm>
#include <charconv>
#include <cstdio>

#include "cli/text/block_type.h"
#include "cli/text/bytes_as_text.h"
#include "cli/text/error_words.h"

namespace plexum::cli {

void TraceNotes::add(const char* name, const std::string& text) {
  constexpr std::size_t kNameWidth = 6;
  std::string line = "  " + std::string(name);
  line.resize(2 + kNameWidth, ' ');
  text_ += line + text + '\n';
}

bool TraceNotes::add(const char* name, const std::string& text, const ByteCursor& in) {
  add(name, in.ok() ? text : "ends too soon");
  return in.ok();
}

std::string hexadecimal(std::uint32_t value, int digits) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%0*X", digits, value);
  return text;
}

std::string printable(std::string_view bytes) {
  std::string text(bytes);
  std::replace_if(
      text.begin(), text.end(), [](char c) { return c < ' ' || c > '~'; }, '.');
  return text;
}

std::string first_bytes(std::string_view bytes) {
  constexpr std::size_t kShown = 16;
  return hex_dump(std::string(bytes.substr(0, kShown))) + (bytes.size() > kShown ? " ..." : "");
}

std::string counted(std::size_t count, const char* thing) {
  return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

std::string error_note(std::uint32_t error_class, std::uint32_t code) {
  if (error_class == 0 && code == 0) return "no error";
  std::string text = "error " + hexadecimal(error_class << 8 | code, 4);
  for (const KnownError& error : header_errors()) {
    if (error.error_class == error_class && error.code == code) {
      return text + ": " + error.meaning;
    }
  }
  return text;
}

std::string return_code_note(std::uint32_t code) {
  constexpr std::uint32_t kSuccess = 0xFF;
  if (code == kSuccess) return "success";
  for (const KnownError& error : return_codes()) {
    if (error.code == code) return std::string(error.meaning) + " (" + hexadecimal(code, 2) + ")";
  }
  return "return code " + hexadecimal(code, 2);
}

std::string block_type_note(std::string_view type) {
  unsigned code = 0;
  const char* const end = type.data() + type.size();
  const auto [rest, error] = std::from_chars(type.data(), end, code, 16);
  const BlockType* const known =
      type.size() == 2 && error == std::errc() && rest == end ? find_block_type(code) : nullptr;
  if (known != nullptr) return known->name;
  return "type '" + printable(type) + "'";
}

std::string block_note(std::string_view designation) {
  constexpr std::size_t kType = 2;
  constexpr std::size_t kNumber = 5;
  ByteCursor in(designation);
  const std::string_view type = in.available(kType);
  std::string_view number = in.available(kNumber);
  while (number.size() > 1 && number.front() == '0') number.remove_prefix(1);
  std::string text = block_type_note(type) + " " + printable(number);
  if (in.left() > 0) text += ", file system " + printable(in.available(in.left()));
  return text;
}

}  // namespace plexum::cli
