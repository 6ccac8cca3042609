#include "client/wire/describe.h"

#include <cstdio>
#include <iterator>

#include "client/wire/notes.h"

namespace plexum::wire {
namespace {

constexpr NamedCode kMessageTypes[] = {
    {1, "job"}, {2, "acknowledgement"}, {3, "answer"}, {7, "userdata"}};

void note_message(Reader in, Notes& notes) {
  constexpr std::uint32_t kS7 = 0x32;
  enum : std::uint32_t { kJob = 1, kAck = 2, kAnswer = 3, kUserdata = 7 };
  const std::uint32_t protocol = in.u8();
  if (in.ok() && protocol != kS7) {
    notes.add("", "protocol " + hexadecimal(protocol, 2) + ", which isn't S7 communication");
    return;
  }
  const std::uint32_t type = in.u8();
  in.u16();  // redundancy identification
  const std::uint32_t reference = in.u16();
  const std::uint32_t parameter_length = in.u16();
  const std::uint32_t data_length = in.u16();
  if (!notes.add("S7",
                 name_of(kMessageTypes, type) + ", PDU reference " + hexadecimal(reference, 4) +
                     ", parameters " + counted(parameter_length, "byte") + ", data " +
                     counted(data_length, "byte"),
                 in)) {
    return;
  }
  if (type == kAck || type == kAnswer) {
    const std::uint8_t error_class = in.u8();
    const std::uint8_t code = in.u8();
    if (!notes.add("", error_note({error_class, code}, notes.words), in)) return;
  }
  const Reader parameter(in.available(parameter_length));
  const Reader data(in.available(data_length));
  if (type == kUserdata) {
    note_userdata(parameter, data, notes);
  } else if (parameter.left() > 0 && (type == kJob || type == kAck || type == kAnswer)) {
    note_job(type != kJob, parameter, data, notes);
  }
  const std::size_t missing = parameter_length - parameter.left() + data_length - data.left();
  if (missing > 0) notes.add("", counted(missing, "byte") + " missing");
  if (in.left() > 0) notes.add("", counted(in.left(), "byte") + " behind the message");
}

// A TSAP of the usual form names the kind of connection, the rack and the slot.
std::string tsap_note(std::string_view bytes) {
  constexpr const char* kKinds[] = {"", "PG", "OP", "basic"};
  constexpr std::uint32_t kSlots = 32;
  std::string text = hex_dump(bytes);
  Reader in(bytes);
  const std::uint32_t kind = in.u8();
  const std::uint32_t place = in.u8();
  if (bytes.size() != 2 || kind == 0 || kind >= std::size(kKinds)) return text;
  return text + " (" + kKinds[kind] + ", rack " + std::to_string(place / kSlots) + ", slot " +
         std::to_string(place % kSlots) + ")";
}

// The variable part of a connection request or confirm.
void note_connection_parameters(Reader in, Notes& notes) {
  enum : std::uint32_t { kTpduSize = 0xC0, kCallingTsap = 0xC1, kCalledTsap = 0xC2 };
  while (in.left() > 0) {
    const std::uint32_t code = in.u8();
    const std::string_view value = in.take(in.u8());
    std::string text = "parameter " + hexadecimal(code, 2) + ": " + first_bytes(value);
    if (code == kCallingTsap) text = "calling TSAP " + tsap_note(value);
    if (code == kCalledTsap) text = "called TSAP " + tsap_note(value);
    if (code == kTpduSize && value.size() == 1 && value[0] >= 0 && value[0] < 32) {
      text = "TPDU size " + std::to_string(1u << value[0]);
    }
    if (!notes.add("", text, in)) return;
  }
}

void note_transport(Reader in, Notes& notes) {
  constexpr NamedCode kTypes[] = {{0xE0, "connection request (CR)"},
                                  {0xD0, "connection confirm (CC)"},
                                  {0x80, "disconnect request (DR)"},
                                  {0x70, "error (ER)"},
                                  {0xF0, "data (DT)"}};
  enum : std::uint32_t { kRequest = 0xE0, kConfirm = 0xD0, kDisconnect = 0x80, kData = 0xF0 };
  Reader header(in.take(in.u8()));
  if (!in.ok()) header = Reader({});
  const std::uint32_t type = header.u8() & 0xF0;
  std::string text = name_of(kTypes, type);
  if (type == kData) {
    const std::uint32_t number = header.u8();
    text += (number & 0x80) != 0 ? ", the last of its message" : ", more follows";
  } else if (type == kRequest || type == kConfirm || type == kDisconnect) {
    const std::uint32_t destination = header.u16();
    text += ", references " + hexadecimal(destination, 4) + " and ";
    text += hexadecimal(header.u16(), 4);
    const std::uint32_t last = header.u8();
    text += type == kDisconnect ? ", reason " + std::to_string(last)
                                : ", class " + std::to_string(last >> 4);
  }
  if (!notes.add("COTP", text, header)) return;
  if (type == kRequest || type == kConfirm) note_connection_parameters(header, notes);
  if (type == kData) note_message(in, notes);
}

// Takes one telegram off `in`. False where what follows can't be told to be one.
bool note_telegram(Reader& in, Notes& notes) {
  constexpr std::uint32_t kVersion = 3;
  constexpr std::uint32_t kHeader = 4;
  const std::size_t whole = in.left();
  const std::uint32_t version = in.u8();
  in.u8();  // reserved
  const std::uint32_t length = in.u16();
  if (in.ok() && (version != kVersion || length < kHeader)) {
    notes.add("", counted(whole, "byte") + " that no telegram begins with");
    return false;
  }
  std::string text = "version 3, length " + std::to_string(length);
  if (length > whole) text += ", " + counted(length - whole, "byte") + " of it missing";
  if (!notes.add("TPKT", text, in)) return false;
  note_transport(Reader(in.available(length - kHeader)), notes);
  return true;
}

}  // namespace

std::string describe(std::string_view bytes, const Words& words) {
  Notes notes(words);
  Reader in(bytes);
  while (in.left() > 0 && note_telegram(in, notes)) {
  }
  return notes.text();
}

std::string dump(std::string_view bytes) {
  constexpr std::size_t kBytesALine = 16;
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); i += kBytesALine) {
    const std::string_view part = bytes.substr(i, kBytesALine);
    char line[80];
    std::snprintf(line, sizeof line, "  %04zX  %-47s  %s\n", i, hex_dump(part).c_str(),
                  printable(part).c_str());
    text += line;
  }
  return text;
}

}  // namespace plexum::wire
