// Userdata: state lists, block lists, the clock, programmer commands.

#include <cstdio>
#include <string>

#include "client/wire/notes.h"

namespace plexum::wire {
namespace {

constexpr std::uint32_t function(std::uint32_t group, std::uint32_t subfunction) {
  return group << 8 | subfunction;
}

constexpr std::uint32_t kErase = function(1, 0x0C);
constexpr std::uint32_t kCountBlocks = function(3, 1);
constexpr std::uint32_t kListBlocks = function(3, 2);
constexpr std::uint32_t kBlockInformation = function(3, 3);
constexpr std::uint32_t kStateList = function(4, 1);
constexpr std::uint32_t kMessageService = function(4, 2);
constexpr std::uint32_t kStartSession = function(5, 1);
constexpr std::uint32_t kEndSession = function(5, 2);
constexpr std::uint32_t kReadClock = function(7, 1);
constexpr std::uint32_t kSetClock = function(7, 2);

constexpr NamedCode kFunctions[] = {
    {kErase, "erase"},
    {kCountBlocks, "count the blocks"},
    {kListBlocks, "list the blocks of a type"},
    {kBlockInformation, "block information"},
    {kStateList, "read a state list"},
    {kMessageService, "message service"},
    {kStartSession, "start a session"},
    {kEndSession, "end a session"},
    {kReadClock, "read the clock"},
    {kSetClock, "set the clock"},
};

constexpr NamedCode kGroups[] = {
    {1, "programmer commands"}, {2, "cyclic data"}, {3, "block functions"},
    {4, "CPU functions"},       {5, "security"},    {7, "time functions"},
};

// By the list's own number, the low byte of an id.
constexpr NamedCode kStateLists[] = {
    {0x00, "all state lists"},
    {0x11, "module identification"},
    {0x12, "CPU features"},
    {0x13, "memory areas"},
    {0x14, "system areas"},
    {0x15, "block types"},
    {0x19, "lamps"},
    {0x1C, "component identification"},
    {0x22, "interrupts"},
    {0x24, "modes"},
    {0x31, "abilities"},
    {0x32, "communication state"},
    {0x74, "lamps"},
    {0x91, "modules' state"},
    {0xA0, "diagnostic buffer"},
};

void note_state_list(bool answer, Reader in, Notes& notes) {
  const std::uint32_t id = in.u16();
  const std::uint32_t index = in.u16();
  if (!notes.add("",
                 "list " + hexadecimal(id, 4) + " (" + name_of(kStateLists, id & 0xFF) +
                     "), index " + hexadecimal(index, 4),
                 in) ||
      !answer) {
    return;
  }
  const std::uint32_t length = in.u16();
  const std::uint32_t count = in.u16();
  if (!notes.add("", counted(count, "record") + " of " + counted(length, "byte"), in)) return;
  while (length > 0 && in.left() > 0) notes.add("", first_bytes(in.available(length)));
}

void note_block_list(bool answer, Reader in, Notes& notes) {
  if (!answer) {
    notes.add("", block_type_note(in.take(2)), in);
    return;
  }
  std::string numbers;
  while (in.left() > 0) {
    const std::uint32_t number = in.u16();
    in.u16();  // flags, language
    if (!in.ok()) break;
    numbers += ' ' + std::to_string(number);
  }
  notes.add("", "numbers" + numbers, in);
}

void note_block_counts(bool answer, Reader in, Notes& notes) {
  while (answer && in.left() > 0) {
    const std::string type = block_type_note(in.take(2));
    if (!notes.add("", type + ": " + std::to_string(in.u16()), in)) return;
  }
}

// A reserved byte, then BCD: century, year, month, day, hour, minute, second, milliseconds with
// the weekday in the last half byte.
void note_time(Reader in, Notes& notes) {
  constexpr const char* kFormat = "%02X%02X-%02X-%02X %02X:%02X:%02X.%03X";
  std::uint32_t fields[8];
  in.u8();
  for (std::size_t i = 0; i < 7; ++i) fields[i] = in.u8();
  fields[7] = in.u16() >> 4;
  char text[80];
  std::snprintf(text, sizeof text, kFormat, fields[0], fields[1], fields[2], fields[3], fields[4],
                fields[5], fields[6], fields[7]);
  notes.add("", text, in);
}

void note_content(std::uint32_t function, bool answer, Reader in, Notes& notes) {
  switch (function) {
    case kStateList:
      note_state_list(answer, in, notes);
      return;
    case kListBlocks:
      note_block_list(answer, in, notes);
      return;
    case kCountBlocks:
      note_block_counts(answer, in, notes);
      return;
    case kBlockInformation:
      if (!answer) notes.add("", block_note(in.available(in.left())));
      return;
    case kReadClock:
    case kSetClock:
      note_time(in, notes);
      return;
    default:
      return;
  }
}

}  // namespace

void note_userdata(Reader parameter, Reader data, Notes& notes) {
  constexpr std::uint32_t kAnswerMethod = 0x12;
  constexpr NamedCode kTypes[] = {{0, "indication"}, {4, "request"}, {8, "answer"}};
  constexpr std::uint32_t kAnswerType = 8;
  parameter.u24();  // 00 01 12
  Reader in(parameter.available(parameter.u8()));
  const std::uint32_t method = in.u8();
  const std::uint32_t type_and_group = in.u8();
  const std::uint32_t type = type_and_group >> 4;
  const std::uint32_t group = type_and_group & 0x0F;
  const std::uint32_t subfunction = in.u8();
  const std::uint32_t sequence = in.u8();
  const std::uint32_t code = function(group, subfunction);
  std::string text = name_of(kTypes, type) + ", " + name_of(kGroups, group) + ": ";
  text += name_of(kFunctions, code) + ", sequence " + std::to_string(sequence);
  if (!notes.add("", text, in)) return;
  if (method == kAnswerMethod) {
    const std::uint32_t reference = in.u8();
    const std::uint32_t more = in.u8();
    const std::uint8_t error_class = in.u8();
    const std::uint8_t error_code = in.u8();
    text = error_note({error_class, error_code}, notes.words);
    if (reference != 0) text += ", data unit " + std::to_string(reference);
    if (more != 0) text += ", more follows";
    if (!notes.add("", text, in)) return;
  }
  if (data.left() == 0) return;
  const ReturnCode return_code{data.u8()};
  data.u8();  // transport size
  const std::uint32_t length = data.u16();
  const bool answer = type == kAnswerType;
  // An answer without data has the return code 0A (no such object) also after a success, so it is
  // not shown.
  const std::string head =
      answer && length > 0 ? return_code_note(return_code, notes.words) + ", " : "";
  if (!notes.add("", length == 0 ? "no data" : head + counted(length, "byte") + " of data", data)) {
    return;
  }
  const Reader content(data.available(length));
  if (content.left() > 0) note_content(code, answer, content, notes);
}

}  // namespace plexum::wire
