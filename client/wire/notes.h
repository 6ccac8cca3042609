#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "client/wire/bytes.h"
#include "client/wire/describe.h"

// The lines that describe telegrams, and the pieces that they are made of.
namespace plexum::wire {

class Notes {
 public:
  explicit Notes(const Words& known) : words(known) {}

  // One line below the layer `name`; without a name it carries on the line before.
  void add(const char* name, const std::string& text);
  // The same for what was just read from `in`. Where that ended too soon the line says so in place
  // of the zeros that were read; false then.
  bool add(const char* name, const std::string& text, const Reader& in);

  [[nodiscard]] const std::string& text() const { return text_; }

  const Words& words;

 private:
  std::string text_;
};

struct NamedCode {
  std::uint32_t code;
  const char* name;
};

// "0x0200", with at least as many digits as given.
std::string hexadecimal(std::uint32_t value, int digits);
// "03 00 00 1F".
std::string hex_dump(std::string_view bytes);
// Bytes of the PLC as they can be shown on a terminal.
std::string printable(std::string_view bytes);
// The first of many bytes: "00 01 02 03 ...".
std::string first_bytes(std::string_view bytes);
// "1 byte", "2 bytes".
std::string counted(std::size_t count, const char* thing);
// The error class and code of an answer in words.
std::string error_note(ErrorCode error, const Words& words);
// The return code of an item in words.
std::string return_code_note(ReturnCode code, const Words& words);
// "FC 2" of a block's designation, two characters for its type and five digits; a letter for the
// file system may follow.
std::string block_note(std::string_view designation);
std::string block_type_note(std::string_view type);

// The name of a code, "unknown ..." with its number where it has none.
template <typename Table>
std::string name_of(const Table& table, std::uint32_t code) {
  for (const NamedCode& entry : table) {
    if (entry.code == code) return entry.name;
  }
  return "unknown " + hexadecimal(code, 2);
}

// What the S7 messages of their kinds carry: jobs and their answers (describe_jobs.cpp), userdata
// (describe_userdata.cpp).
void note_job(bool answer, Reader parameter, Reader data, Notes& notes);
void note_userdata(Reader parameter, Reader data, Notes& notes);

}  // namespace plexum::wire
