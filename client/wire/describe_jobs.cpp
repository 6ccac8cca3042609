// Jobs and their answers: set-up, reading and writing, services, uploads and downloads.

#include <string>

#include "client/wire/notes.h"

namespace plexum::wire {
namespace {

enum FunctionCode : std::uint32_t {
  kRead = 0x04,
  kWrite = 0x05,
  kRequestDownload = 0x1A,
  kDownload = 0x1B,
  kDownloadEnded = 0x1C,
  kStartUpload = 0x1D,
  kUpload = 0x1E,
  kEndUpload = 0x1F,
  kService = 0x28,
  kStop = 0x29,
  kSetup = 0xF0,
};

constexpr NamedCode kFunctions[] = {
    {kRead, "read variable"},
    {kWrite, "write variable"},
    {kRequestDownload, "request download"},
    {kDownload, "download block"},
    {kDownloadEnded, "download ended"},
    {kStartUpload, "start upload"},
    {kUpload, "upload"},
    {kEndUpload, "end upload"},
    {kService, "program invocation"},
    {kStop, "stop"},
    {kSetup, "setup communication"},
};

constexpr NamedCode kElementTypes[] = {
    {0x01, "BOOL"},  {0x02, "BYTE"}, {0x03, "CHAR"}, {0x04, "WORD"},    {0x05, "INT"},
    {0x06, "DWORD"}, {0x07, "DINT"}, {0x08, "REAL"}, {0x1C, "COUNTER"}, {0x1D, "TIMER"},
};

constexpr std::uint32_t kCounters = 0x1C;
constexpr std::uint32_t kTimers = 0x1D;

// "DB10.DBX", "M " and so on, up to the address.
std::string area_note(std::uint32_t area, std::uint32_t block) {
  constexpr NamedCode kAreas[] = {{0x80, "P "}, {0x81, "I "}, {0x82, "Q "},      {0x83, "M "},
                                  {0x86, "L "}, {0x87, "V "}, {kCounters, "C "}, {kTimers, "T "}};
  constexpr std::uint32_t kDataBlock = 0x84;
  constexpr std::uint32_t kInstanceBlock = 0x85;
  if (area == kDataBlock) return "DB" + std::to_string(block) + ".DBX";
  if (area == kInstanceBlock) return "DI" + std::to_string(block) + ".DIX";
  return name_of(kAreas, area);
}

// Where an item lies, as an ANY pointer is written: P#DB10.DBX4.0 BYTE 4.
bool note_item(std::uint32_t position, Reader& in, Notes& notes) {
  constexpr std::uint32_t kVarSpec = 0x12;
  constexpr std::uint32_t kAnySyntax = 0x10;
  const std::string name = "item " + std::to_string(position) + ": ";
  const std::uint32_t item_kind = in.u8();
  Reader item(in.take(in.u8()));
  const std::uint32_t syntax = item.u8();
  if (in.ok() && item.ok() && (item_kind != kVarSpec || syntax != kAnySyntax)) {
    notes.add("", name + "an address of syntax " + hexadecimal(syntax, 2));
    return true;
  }
  const std::uint32_t type = item.u8();
  const std::uint32_t count = item.u16();
  const std::uint32_t block = item.u16();
  const std::uint32_t area = item.u8();
  const std::uint32_t address = item.u24();
  std::string place = area_note(area, block);
  place += type == kTimers || type == kCounters
               ? std::to_string(address)
               : std::to_string(address / 8) + "." + std::to_string(address % 8);
  return notes.add(
      "", name + "P#" + place + " " + name_of(kElementTypes, type) + " " + std::to_string(count),
      item);
}

// A data item's return code (of answers), type, length and bytes.
bool note_data_item(std::uint32_t position, bool answer, Reader& in, Notes& notes) {
  constexpr NamedCode kTypes[] = {{0x00, "no data"}, {0x03, "BIT"},      {0x04, "BYTE/WORD/DWORD"},
                                  {0x05, "INTEGER"}, {0x06, "DINTEGER"}, {0x07, "REAL"},
                                  {0x09, "octets"}};
  const ReturnCode code{in.u8()};
  const std::uint32_t type = in.u8();
  const std::uint32_t length = in.u16();
  const bool in_bits = type >= 0x03 && type <= 0x05;
  const std::size_t size = in_bits ? (length + 7) / 8 : length;
  const std::string_view bytes = in.take(size);
  if (size % 2 != 0) in.available(1);  // filled up to an even length where another item follows
  std::string text = "item " + std::to_string(position) + ": ";
  if (answer) text += return_code_note(code, notes.words) + ", ";
  text += name_of(kTypes, type) + ", " + counted(length, in_bits ? "bit" : "byte");
  if (!bytes.empty()) text += ": " + first_bytes(bytes);
  return notes.add("", text, in);
}

void note_variables(std::uint32_t function, bool answer, Reader parameter, Reader data,
                    Notes& notes) {
  const std::uint32_t count = parameter.u8();
  const std::string name = name_of(kFunctions, function);
  if (!notes.add("", name + ", " + counted(count, "item"), parameter)) return;
  const bool addresses = !answer;
  const bool values = (function == kRead) == answer;
  for (std::uint32_t i = 1; addresses && i <= count; ++i) {
    if (!note_item(i, parameter, notes)) return;
  }
  for (std::uint32_t i = 1; values && i <= count && data.left() > 0; ++i) {
    if (!note_data_item(i, answer, data, notes)) return;
  }
  for (std::uint32_t i = 1; function == kWrite && answer && i <= count && data.left() > 0; ++i) {
    notes.add("", "item " + std::to_string(i) + ": " +
                      return_code_note(ReturnCode{data.u8()}, notes.words));
  }
}

// Uploads and downloads; `in` begins behind the function code.
void note_transfer(std::uint32_t function, bool answer, Reader in, Reader data, Notes& notes) {
  if (in.left() == 0) return;
  const std::uint32_t status = in.u8();
  if (answer && (function == kUpload || function == kDownload)) {
    const std::uint32_t length = data.u16();
    data.u16();  // 00 FB
    notes.add("",
              counted(length, "byte") + " of the block, " +
                  ((status & 1) != 0 ? "more follows" : "the last ones"),
              data);
    return;
  }
  in.u16();
  const std::uint32_t id = in.u32();
  if (function == kUpload || function == kEndUpload || (function == kStartUpload && answer)) {
    if (!notes.add("", "upload " + std::to_string(id), in)) return;
  }
  if (in.left() == 0) return;
  const std::string_view first = in.take(in.u8());
  if (function == kStartUpload && answer) {
    notes.add("", "the block's length is " + printable(first), in);
    return;
  }
  // "_", the designation, the file system.
  if (!notes.add("", block_note(first.substr(first.empty() ? 0 : 1)), in)) return;
  if (in.left() == 0) return;
  Reader lengths(in.take(in.u8()));
  lengths.u8();  // "1"
  const std::string image = printable(lengths.take(6));
  const std::string code = printable(lengths.take(6));
  notes.add("", "lengths: image " + image + ", code " + code, lengths);
}

// The name of a service, in its own spelling and in words.
std::string service_note(std::string_view name) {
  constexpr const char* kServices[][2] = {{"P_PROGRAM", "start"},
                                          {"_MODU", "copy RAM to ROM"},
                                          {"_GARB", "compress"},
                                          {"_DELE", "delete blocks"},
                                          {"_INSE", "take blocks into use"}};
  for (const auto& [service, words] : kServices) {
    if (service == name) return std::string(service) + " (" + words + ")";
  }
  return printable(name);
}

void note_service(Reader in, Notes& notes) {
  constexpr std::size_t kHead = 7;
  constexpr std::size_t kDesignation = 8;
  in.take(kHead);
  const std::string_view argument = in.take(in.u16());
  const std::string_view name = in.take(in.u8());
  if (!notes.add("", service_note(name), in)) return;
  if (name != "_DELE" && name != "_INSE") {
    if (!argument.empty()) notes.add("", "argument '" + printable(argument) + "'");
    return;
  }
  Reader blocks(argument);
  const std::uint32_t count = blocks.u8();
  blocks.u8();
  for (std::uint32_t i = 0; i < count; ++i) {
    if (!notes.add("", block_note(blocks.take(kDesignation)), blocks)) return;
  }
}

void note_setup(Reader in, Notes& notes) {
  in.u8();  // reserved
  const std::uint32_t calling = in.u16();
  const std::uint32_t called = in.u16();
  const std::uint32_t pdu = in.u16();
  notes.add("",
            "parallel jobs " + std::to_string(calling) + " and " + std::to_string(called) +
                ", PDU of " + counted(pdu, "byte"),
            in);
}

}  // namespace

void note_job(bool answer, Reader parameter, Reader data, Notes& notes) {
  constexpr std::size_t kStopHead = 5;
  const std::uint32_t function = parameter.u8();
  if (function == kRead || function == kWrite) {
    note_variables(function, answer, parameter, data, notes);
    return;
  }
  if (!notes.add("", name_of(kFunctions, function), parameter)) return;
  switch (function) {
    case kSetup:
      note_setup(parameter, notes);
      return;
    case kService:
      if (!answer) note_service(parameter, notes);
      return;
    case kStop:
      if (answer) return;
      parameter.take(kStopHead);
      notes.add("", printable(parameter.take(parameter.u8())), parameter);
      return;
    case kRequestDownload:
    case kDownload:
    case kDownloadEnded:
    case kStartUpload:
    case kUpload:
    case kEndUpload:
      note_transfer(function, answer, parameter, data, notes);
      return;
    default:
      return;
  }
}

}  // namespace plexum::wire
