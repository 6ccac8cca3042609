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
// A part of a block list leaves a little more of the PDU unused than other parts, as CPUs do.
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

// The data's own length isn't held against the message's: some clients send one that differs.
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
  const bool continues = transfer_ && request.content.empty() && request.sequence != 0 &&
                         request.group == transfer_->group &&
                         request.subfunction == transfer_->subfunction &&
                         request.sequence == transfer_->sequence;
  Transfer transfer{request.group, request.subfunction, 1, 0, {}};
  if (continues) {
    transfer = std::move(*transfer_);
  } else {
    transfer.left = serve(request);
  }
  transfer_.reset();

  const bool entries = function(request.group, request.subfunction) == kListBlocks;
  const std::size_t room =
      entries ? (pdu - kListHead) / kEntrySize * kEntrySize : pdu - kAnswerHead;
  const bool more = transfer.left.size() > room;
  if (more && transfer.reference == 0) {
    if (++plc_.last_transfer == 0) plc_.last_transfer = 1;
    transfer.reference = plc_.last_transfer;
  }
  const ByteView part = ByteView(transfer.left).first(std::min(room, transfer.left.size()));
  Message answer =
      answer_message(message,
                     answer_parameter(transfer.group, transfer.subfunction, transfer.sequence,
                                      transfer.reference, more, Error::kNone),
                     answer_data(part));
  if (more) {
    transfer.left.erase(transfer.left.begin(),
                        transfer.left.begin() + static_cast<std::ptrdiff_t>(room));
    transfer_ = std::move(transfer);
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
      // Subscribed, but nothing is ever told: clients that wait for their answers alone take
      // whatever arrives for one.
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
