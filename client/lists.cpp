#include "client/lists.h"

#include <optional>
#include <utility>

namespace plexum::client {
namespace {

using wire::Reader;

// Bytes. A state list that is longer is none that a CPU keeps; a block list has at most one entry
// for each number.
constexpr std::size_t kLongestStateList = 256 * 1024;
constexpr std::size_t kBlockEntrySize = 4;
constexpr std::size_t kLongestBlockList = kBlockEntrySize * 65536;
constexpr std::size_t kShortList = 4096;  // what fits into few parts

constexpr std::size_t kStateListHead = 8;

// How PLCs say that there is no block of a type.
constexpr wire::ErrorCode kNoBlockOfType{0xD2, 0x0E};

}  // namespace

std::string ask_for_all(Connection& connection, const wire::Userdata& request, std::size_t most) {
  std::string all;
  std::optional<std::uint8_t> unit;
  for (wire::Userdata answer = connection.ask(request);;
       answer = connection.ask(wire::next_part_of(answer))) {
    if (answer.code != wire::ReturnCode::kSuccess) throw Error(ItemRefused{answer.code});
    const wire::Userdata::Progress& progress = *answer.progress;
    if (unit && *unit != progress.unit) {
      connection.fail_senseless("a part of another answer", answer.content);
    }
    if (progress.more && answer.content.empty()) {
      connection.fail_senseless("a part without data that isn't the last");
    }
    if (all.size() + answer.content.size() > most) {
      connection.fail_senseless("a list longer than it can be", answer.content);
    }
    all += answer.content;
    if (!progress.more) return all;
    unit = progress.unit;
  }
}

StateList read_state_list(Connection& connection, std::uint16_t id, std::uint16_t index) {
  const std::string content =
      ask_for_all(connection, wire::read_state_list(id, index), kLongestStateList);
  Reader in(content);
  StateList list;
  list.id = in.u16();
  list.index = in.u16();
  list.record_size = in.u16();
  list.record_count = in.u16();
  if (!in.ok()) connection.fail_senseless("a state list without its head", content);
  if (list.id != id) connection.fail_senseless("another state list than was asked for", content);
  list.bytes = content.substr(kStateListHead);
  return list;
}

Protection read_protection(Connection& connection) {
  constexpr std::uint16_t kCommunicationState = 0x0132;
  constexpr std::uint16_t kProtection = 4;
  const StateList list = read_state_list(connection, kCommunicationState, kProtection);
  Reader in(list.record(0));
  if (in.u16() != kProtection) connection.fail_senseless("no protection level", list.bytes);
  Protection protection;
  protection.by_selector = in.u16();
  protection.by_password = in.u16();
  protection.in_force = in.u16();
  protection.selector = in.u16();
  protection.start_up_switch = in.u16();
  if (!in.ok()) connection.fail_senseless("no protection level", list.bytes);
  return protection;
}

std::vector<BlockCount> count_blocks(Connection& connection) {
  const std::string content =
      ask_for_all(connection, wire::user_request(wire::kCountBlocks), kShortList);
  std::vector<BlockCount> counts;
  Reader in(content);
  while (in.left() > 0) {
    const std::optional<BlockType> type = wire::block_type_of(in.take(2));
    const std::size_t count = in.u16();
    if (!in.ok()) connection.fail_senseless("block counts that end too soon", content);
    if (type) counts.push_back({*type, count});
  }
  return counts;
}

std::vector<BlockEntry> list_blocks(Connection& connection, BlockType type) {
  std::string content;
  try {
    content = ask_for_all(connection, wire::list_blocks(type), kLongestBlockList);
  } catch (const Error& error) {
    if (error.failure() == Failure(Refused{kNoBlockOfType})) return {};
    throw;
  }
  if (content.size() % kBlockEntrySize != 0) {
    connection.fail_senseless("a block list that ends too soon", content);
  }
  std::vector<BlockEntry> entries(content.size() / kBlockEntrySize);
  Reader in(content);
  for (BlockEntry& entry : entries) {
    entry.number = in.u16();
    entry.flags = in.u8();
    entry.language = in.u8();
  }
  return entries;
}

std::string block_information(Connection& connection, const BlockId& block) {
  const std::string content = ask_for_all(connection, wire::block_information(block), kShortList);
  // 01 00, the length of what follows, two bytes of flags.
  Reader in(content);
  in.u16();
  const std::size_t length = in.u16();
  Reader information(in.take(length));
  information.u16();
  const std::string_view header = information.take(information.left());
  if (!in.ok() || !information.ok() || !header.starts_with("\x70\x70")) {
    connection.fail_senseless("no block information", content);
  }
  return std::string(header);
}

}  // namespace plexum::client
