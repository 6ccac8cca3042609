#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "cli/watching/byte_cursor.h"

namespace plexum::cli {

// The lines of an annotated telegram, and the pieces that they are made of.
class TraceNotes {
 public:
  // Adds a line that begins with the layer's name; a line without a name belongs to the layer
  // above.
  void add(const char* name, const std::string& text);
  // The same for a text that was made of what was read from `in`. Where `in` ended too soon the
  // line says that instead, and the result is false.
  bool add(const char* name, const std::string& text, const ByteCursor& in);

  [[nodiscard]] const std::string& text() const { return text_; }

 private:
  std::string text_;
};

struct NamedCode {
  std::uint32_t code;
  const char* name;
};

// The name of a code, or "unknown" and its number.
template <typename Table>
std::string name_of(const Table& table, std::uint32_t code);

// "0x0200", with at least as many digits as given.
std::string hexadecimal(std::uint32_t value, int digits);
// Bytes as printable characters, with points for all others.
std::string printable(std::string_view bytes);
// The first of many bytes: "00 01 02 03 ...".
std::string first_bytes(std::string_view bytes);
// "1 byte", "2 bytes".
std::string counted(std::size_t count, const char* thing);
// The error class and code of an answer in words.
std::string error_note(std::uint32_t error_class, std::uint32_t code);
// The return code of an item in words.
std::string return_code_note(std::uint32_t code);
// "FC 2" of a block's designation, two characters for its type and five digits; a letter for the
// file system may follow.
std::string block_note(std::string_view designation);
std::string block_type_note(std::string_view type);

template <typename Table>
std::string name_of(const Table& table, std::uint32_t code) {
  for (const NamedCode& entry : table) {
    if (entry.code == code) return entry.name;
  }
  return "unknown " + hexadecimal(code, 2);
}

// What the S7 messages of their kinds carry: jobs and their answers (trace_jobs.cpp), userdata
// (trace_userdata.cpp).
void note_job(bool answer, ByteCursor parameter, ByteCursor data, TraceNotes& notes);
void note_userdata(ByteCursor parameter, ByteCursor data, TraceNotes& notes);

}  // namespace plexum::cli
