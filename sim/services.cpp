#include "sim/services.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "sim/plc.h"

namespace plexum::sim {
namespace {

constexpr std::string_view kProgram = "P_PROGRAM";
constexpr std::array<std::uint8_t, 7> kInvocationHead{0, 0, 0, 0, 0, 0, 0xFD};
constexpr std::array<std::uint8_t, 5> kStopHead{0, 0, 0, 0, 0};

void expect_bytes(Reader& reader, ByteView expected) {
  for (const std::uint8_t byte : expected) reader.expect(byte, "service head");
}

// One block of an argument: 08 to 0F for its type, five digits, the file system.
BlockId parse_block(Reader& reader) {
  const std::string type = reader.text(2);
  const std::string number = reader.text(5);
  reader.take(1);
  return BlockId::parse(type, number);
}

// The blocks that an argument names: their number, 00, designations.
std::vector<BlockId> parse_blocks(Reader argument) {
  std::vector<BlockId> blocks(argument.u8());
  argument.take(1);
  for (BlockId& block : blocks) block = parse_block(argument);
  if (argument.left() != 0) throw Malformed("bytes behind the blocks");
  return blocks;
}

void require_access(const Plc& plc) {
  if (plc.options.write_protected) throw Refusal{Error::kProtected};
}

Message done(const Message& job) {
  return ack_data(job, Writer().u8(static_cast<std::size_t>(job.function())).take());
}

}  // namespace

Message invoke_program(Plc& plc, const Message& job) {
  Reader reader(job.parameter);
  reader.take(1);  // the function
  expect_bytes(reader, kInvocationHead);
  const ByteView argument = reader.take(reader.u16());
  const std::string service = reader.text(reader.u8());
  if (reader.left() != 0) throw Malformed("bytes behind the service's name");

  require_access(plc);
  const std::string text(argument.begin(), argument.end());
  if (service == kProgram) {
    if (!text.empty() && text != "C ") throw Refusal{Error::kParameter};
    plc.mode = Mode::kRun;
    plc.running_since = plc.options.now();
  } else if (service == "_MODU") {
    if (text != "EP") throw Refusal{Error::kParameter};
    ++plc.copies_to_rom;
  } else if (service == "_GARB") {
    ++plc.compressions;
  } else if (service == "_DELE") {
    for (const BlockId& block : parse_blocks(Reader(argument))) plc.blocks.remove(block);
  } else if (service == "_INSE") {
    for (const BlockId& block : parse_blocks(Reader(argument))) plc.blocks.activate(block);
  } else {
    throw Refusal{Error::kUnknownService};
  }
  return done(job);
}

Message stop_program(Plc& plc, const Message& job) {
  Reader reader(job.parameter);
  reader.take(1);  // the function
  expect_bytes(reader, kStopHead);
  const std::string service = reader.text(reader.u8());
  if (reader.left() != 0) throw Malformed("bytes behind the service's name");
  if (service != kProgram) throw Refusal{Error::kUnknownService};
  require_access(plc);
  plc.mode = Mode::kStop;
  return done(job);
}

void erase(Plc& plc) {
  require_access(plc);
  plc.mode = Mode::kStop;
  plc.memory.clear();
  plc.blocks.clear();
}

}  // namespace plexum::sim
