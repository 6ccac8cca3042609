#include "client/wire/userdata.h"

#include <algorithm>
#include <array>

namespace plexum::wire {
namespace {

constexpr std::uint32_t kParameterHead = 0x000112;
constexpr std::size_t kShort = 4;  // what follows the parameter's own length: of requests
constexpr std::size_t kLong = 8;   // of answers and of requests for their further parts
constexpr std::uint8_t kMethodShort = 0x11;
constexpr std::uint8_t kMethodLong = 0x12;

}  // namespace

Userdata user_request(UserFunction function, std::string content) {
  Userdata request;
  request.function = function;
  if (content.empty()) {
    request.code = ReturnCode::kNoSuchObject;
    request.type = DataType::kNone;
  }
  request.content = std::move(content);
  return request;
}

// As programming tools were seen to ask: by the answer's sequence number; its data unit reference
// is not repeated.
Userdata next_part_of(const Userdata& answer) {
  Userdata request = user_request(answer.function);
  request.sequence = answer.sequence;
  request.progress = Userdata::Progress{};
  return request;
}

Userdata read_state_list(std::uint16_t id, std::uint16_t index) {
  std::string content;
  Writer(content).u16(id).u16(index);
  return user_request(kReadStateList, std::move(content));
}

Userdata list_blocks(BlockType type) { return user_request(kListBlocks, text_of(type)); }

Userdata block_information(const BlockId& block) {
  return user_request(kBlockInformation, text_of(BlockName{block, FileSystem::kActive}));
}

Userdata erase() {
  constexpr std::array<std::uint8_t, 24> kAll{0, 0x14, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0,
                                              0, 0,    0, 1, 0, 1, 0, 1, 0, 1, 0, 0};
  return user_request(kErase, std::string(kAll.begin(), kAll.end()));
}

Userdata start_session(std::string_view password) {
  constexpr std::size_t kSize = 8;
  constexpr unsigned kMask = 0x55;
  std::string content(password.substr(0, kSize));
  content.resize(kSize, ' ');
  for (std::size_t i = 0; i < kSize; ++i) {
    unsigned byte = static_cast<unsigned char>(content[i]) ^ kMask;
    if (i >= 2) byte ^= static_cast<unsigned char>(content[i - 2]);
    content[i] = static_cast<char>(byte);
  }
  return user_request(kStartSession, std::move(content));
}

void build(const Userdata& message, Writer& parameter, Writer& data) {
  parameter.u24(kParameterHead).u8(message.progress ? kLong : kShort);
  parameter.u8(message.progress ? kMethodLong : kMethodShort);
  parameter.u8(static_cast<std::size_t>(message.kind) << 4 | (message.function.group & 0x0Fu));
  parameter.u8(message.function.subfunction).u8(message.sequence);
  if (message.progress) {
    parameter.u8(message.progress->unit).u8(message.progress->more ? 1 : 0);
    parameter.u16(message.progress->error.number());
  }
  data.u8(static_cast<std::size_t>(message.code)).u8(static_cast<std::size_t>(message.type));
  data.u16(message.content.size()).bytes(message.content);
}

Parsed<Userdata> parse_userdata(Reader parameter, Reader data) {
  if (parameter.u24() != kParameterHead) return Fault{"userdata with another head"};
  Reader in(parameter.take(parameter.u8()));
  const std::uint8_t method = in.u8();
  const unsigned kind_and_group = in.u8();
  Userdata message;
  message.kind = Userdata::Kind{static_cast<std::uint8_t>(kind_and_group >> 4)};
  message.function.group = kind_and_group & 0x0Fu;
  message.function.subfunction = in.u8();
  message.sequence = in.u8();
  if (method == kMethodLong) {
    Userdata::Progress progress;
    progress.unit = in.u8();
    progress.more = in.u8() != 0;
    progress.error.error_class = in.u8();
    progress.error.code = in.u8();
    message.progress = progress;
  }
  if (!parameter.ok() || !in.ok()) return Fault{"ends within the userdata's parameter"};
  message.code = ReturnCode{data.u8()};
  message.type = DataType{data.u8()};
  message.content = data.take(data.u16());
  if (!data.ok()) return Fault{"ends within the userdata's content"};
  return message;
}

}  // namespace plexum::wire
