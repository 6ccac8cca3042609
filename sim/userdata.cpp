#include "sim/userdata.h"

#include <algorithm>
#include <array>
#include <utility>

#include "sim/block_lists.h"
#include "sim/plc.h"
#include "sim/services.h"
#include "sim/state_lists.h"

namespace plexum::sim {
namespace {

constexpr std::array<std::uint8_t, 3> kParameterHead{0x00, 0x01, 0x12};
constexpr std::uint8_t kMethodOfAnswer = 0x12;
constexpr std::uint8_t kRequest = 4;  // in the high half byte of type and group
constexpr std::uint8_t kResponse = 8;

enum Group : std::uint8_t { kProgrammer = 1, kBlocks = 3, kCpu = 4, kTime = 7 };

constexpr unsigned function(std::uint8_t group, std::uint8_t subfunction) {
  return static_cast<unsigned>(group << 8 | subfunction);
}

constexpr unsigned kErase = function(kProgrammer, 0x0C);
constexpr unsigned kCountBlocks = function(kBlocks, 1);
constexpr unsigned kListBlocks = function(kBlocks, 2);
constexpr unsigned kBlockInformation = function(kBlocks, 3);
constexpr unsigned kReadStateList = function(kCpu, 1);
constexpr unsigned kMessageService = function(kCpu, 2);
constexpr unsigned kReadClock = function(kTime, 1);
constexpr unsigned kSetClock = function(kTime, 2);

// Of every answer.
constexpr std::uint8_t kSuccess = 0xFF;
constexpr std::uint8_t kNoData = 0x0A;
constexpr std::uint8_t kOctetString = 0x09;
constexpr std::size_t kAnswerHead = 10 + 12 + 4;  // S7 header, parameter, data header
// A part of a block list holds one entry less than would fit: 52 at a PDU of 240, as in a recorded
// dialogue with a CPU.
constexpr std::size_t kEntrySize = 4;
constexpr std::size_t kListHead = kAnswerHead + kEntrySize;

Bytes answer_parameter(std::uint8_t group, std::uint8_t subfunction, std::uint8_t sequence,
                       std::uint8_t reference, bool more, Error error) {
  return Writer()
      .bytes(kParameterHead)
      .u8(8)
      .u8(kMethodOfAnswer)
      .u8(static_cast<std::size_t>(kResponse << 4 | group))
      .u8(subfunction)
      .u8(sequence)
      .u8(reference)
      .u8(more ? 1 : 0)
      .u16(static_cast<std::size_t>(error))
      .take();
}

Bytes answer_data(ByteView content) {
  if (content.empty()) return Writer().u8(kNoData).u8(0).u16(0).take();
  return Writer().u8(kSuccess).u8(kOctetString).u16(content.size()).bytes(content).take();
}

Message answer_message(const Message& message, Bytes parameter, Bytes data) {
  return {MessageType::kUserdata, message.reference, Error::kNone, std::move(parameter),
          std::move(data)};
}

}  // namespace

struct Userdata::Request {
  std::uint8_t type = 0;
  std::uint8_t group = 0;
  std::uint8_t subfunction = 0;
  std::uint8_t sequence = 0;
  Bytes content;  // the data, without its header
};

// Some clients announce another length in the data's header than they send. So the content is what
// there is of the announced length.
Userdata::Request Userdata::parse(const Message& message) {
  Reader parameter(message.parameter);
  for (const std::uint8_t byte : kParameterHead) parameter.expect(byte, "userdata head");
  Reader rest(parameter.take(parameter.u8()));
  rest.take(1);  // the method
  Request request;
  const std::uint8_t type_and_group = rest.u8();
  request.type = type_and_group >> 4;
  request.group = type_and_group & 0x0F;
  request.subfunction = rest.u8();
  request.sequence = rest.u8();

  Reader data(message.data);
  data.take(2);  // return code, transport size
  const std::size_t length = data.u16();
  const ByteView content = data.take(std::min(length, data.left()));
  request.content.assign(content.begin(), content.end());
  return request;
}

std::optional<Message> Userdata::answer(const Message& message, std::size_t pdu) {
  Request request;
  try {
    request = parse(message);
  } catch (const Malformed&) {
    return refusal(message, Error::kWrongFrame);
  }
  if (request.type != kRequest) return {};
  try {
    if (message.size() > pdu) throw Refusal{Error::kWrongFrame};
    return answer_request(message, request, pdu);
  } catch (const Refusal& refused) {
    return refuse(message, refused.error);
  } catch (const Malformed&) {
    return refuse(message, Error::kWrongFrame);
  }
}

Message Userdata::refuse(const Message& message, Error error) {
  Request request;
  try {
    request = parse(message);
  } catch (const Malformed&) {
    return refusal(message, error);
  }
  return answer_message(message,
                        answer_parameter(request.group, request.subfunction, 0, 0, false, error),
                        answer_data({}));
}

Message Userdata::answer_request(const Message& message, const Request& request, std::size_t pdu) {
  const bool continues = unfinished_ && request.content.empty() && request.sequence != 0 &&
                         request.group == unfinished_->group &&
                         request.subfunction == unfinished_->subfunction &&
                         request.sequence == unfinished_->sequence;
  PartedAnswer whole{request.group, request.subfunction, 1, 0, {}};
  if (continues) {
    whole = std::move(*unfinished_);
  } else {
    whole.left = serve(request);
  }
  unfinished_.reset();

  const bool entries = function(request.group, request.subfunction) == kListBlocks;
  const std::size_t room =
      entries ? (pdu - kListHead) / kEntrySize * kEntrySize : pdu - kAnswerHead;
  const bool more = whole.left.size() > room;
  if (more && whole.reference == 0) {
    if (++plc_.last_data_unit == 0) plc_.last_data_unit = 1;
    whole.reference = plc_.last_data_unit;
  }
  const ByteView part = ByteView(whole.left).first(std::min(room, whole.left.size()));
  Message answer = answer_message(message,
                                  answer_parameter(whole.group, whole.subfunction, whole.sequence,
                                                   whole.reference, more, Error::kNone),
                                  answer_data(part));
  if (more) {
    whole.left.erase(whole.left.begin(), whole.left.begin() + static_cast<std::ptrdiff_t>(room));
    unfinished_ = std::move(whole);
  }
  return answer;
}

// What the answer carries.
Bytes Userdata::serve(const Request& request) {
  Reader content(request.content);
  switch (function(request.group, request.subfunction)) {
    case kErase:
      erase(plc_);
      return {};
    case kCountBlocks:
      return count_blocks(plc_.blocks);
    case kListBlocks:
      return list_blocks(plc_.blocks, content);
    case kBlockInformation:
      return block_information(plc_.blocks, content);
    case kReadStateList: {
      const std::uint16_t id = content.u16();
      return read_state_list(plc_, id, content.u16());
    }
    case kMessageService:
      // The PLC accepts the subscription and never sends a message: a client that takes everything
      // that arrives for its answer would be misled.
      return Writer().u8(2).u8(0).take();
    case kReadClock:
      return plc_.clock.block();
    case kSetClock:
      if (plc_.options.write_protected) throw Refusal{Error::kProtected};
      if (!plc_.clock.set(request.content)) throw Refusal{Error::kParameter};
      return {};
    default:
      throw Refusal{Error::kUnknownService};
  }
}

}  // namespace plexum::sim
