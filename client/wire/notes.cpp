#include "client/wire/notes.h"

#include <algorithm>
#include <cstdio>

namespace plexum::wire {

void Notes::add(const char* name, const std::string& text) {
  constexpr std::size_t kNameWidth = 6;
  std::string line = "  " + std::string(name);
  line.resize(2 + kNameWidth, ' ');
  text_ += line + text + '\n';
}

bool Notes::add(const char* name, const std::string& text, const Reader& in) {
  add(name, in.ok() ? text : "ends too soon");
  return in.ok();
}

std::string hexadecimal(std::uint32_t value, int digits) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%0*X", digits, value);
  return text;
}

std::string hex_dump(std::string_view bytes) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string dump;
  for (const char c : bytes) {
    const auto code = static_cast<unsigned char>(c);
    if (!dump.empty()) dump += ' ';
    dump += kDigits[code >> 4];
    dump += kDigits[code & 0x0F];
  }
  return dump;
}

std::string printable(std::string_view bytes) {
  std::string text(bytes);
  std::replace_if(
      text.begin(), text.end(), [](char c) { return c < ' ' || c > '~'; }, '.');
  return text;
}

std::string first_bytes(std::string_view bytes) {
  constexpr std::size_t kShown = 16;
  return hex_dump(bytes.substr(0, kShown)) + (bytes.size() > kShown ? " ..." : "");
}

std::string counted(std::size_t count, const char* thing) {
  return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

std::string error_note(ErrorCode error, const Words& words) {
  if (!error) return "no error";
  const std::string text = "error " + hexadecimal(error.number(), 4);
  const char* const meaning = words.of_error(error);
  return meaning == nullptr ? text : text + ": " + meaning;
}

std::string return_code_note(ReturnCode code, const Words& words) {
  if (code == ReturnCode::kSuccess) return "success";
  const std::string number = hexadecimal(static_cast<std::uint32_t>(code), 2);
  const char* const meaning = words.of_return_code(code);
  return meaning == nullptr ? "return code " + number : std::string(meaning) + " (" + number + ")";
}

std::string block_type_note(std::string_view type) {
  constexpr std::string_view kTypes[][2] = {{"08", "OB"}, {"0A", "DB"},  {"0B", "SDB"},
                                            {"0C", "FC"}, {"0D", "SFC"}, {"0E", "FB"},
                                            {"0F", "SFB"}};
  for (const auto& [code, name] : kTypes) {
    if (code == type) return std::string(name);
  }
  return "type '" + printable(type) + "'";
}

std::string block_note(std::string_view designation) {
  constexpr std::size_t kType = 2;
  constexpr std::size_t kNumber = 5;
  Reader in(designation);
  const std::string_view type = in.available(kType);
  std::string_view number = in.available(kNumber);
  while (number.size() > 1 && number.front() == '0') number.remove_prefix(1);
  std::string text = block_type_note(type) + " " + printable(number);
  if (in.left() > 0) text += ", file system " + printable(in.available(in.left()));
  return text;
}

}  // namespace plexum::wire
