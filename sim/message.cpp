#include "sim/message.h"

#include <utility>

namespace plexum::sim {
namespace {

constexpr std::uint8_t kProtocolId = 0x32;
constexpr std::size_t kHeader = 10;

bool carries_error(MessageType type) {
  return type == MessageType::kAck || type == MessageType::kAckData;
}

}  // namespace

std::size_t Message::size() const {
  return kHeader + (carries_error(type) ? 2 : 0) + parameter.size() + data.size();
}

Message parse_message(ByteView bytes) {
  Reader reader(bytes);
  reader.expect(kProtocolId, "protocol id");
  Message message;
  message.type = MessageType{reader.u8()};
  switch (message.type) {
    case MessageType::kJob:
    case MessageType::kAck:
    case MessageType::kAckData:
    case MessageType::kUserdata:
      break;
    default:
      throw Malformed("message type");
  }
  reader.take(2);  // reserved
  message.reference = reader.u16();
  const std::size_t parameter_length = reader.u16();
  const std::size_t data_length = reader.u16();
  if (carries_error(message.type)) message.error = Error{reader.u16()};
  const ByteView parameter = reader.take(parameter_length);
  message.parameter.assign(parameter.begin(), parameter.end());
  const ByteView data = reader.take(data_length);
  message.data.assign(data.begin(), data.end());
  return message;
}

Bytes build_message(const Message& message) {
  Writer writer;
  writer.u8(kProtocolId)
      .u8(static_cast<std::size_t>(message.type))
      .u16(0)
      .u16(message.reference)
      .u16(message.parameter.size())
      .u16(message.data.size());
  if (carries_error(message.type)) writer.u16(static_cast<std::size_t>(message.error));
  return writer.bytes(message.parameter).bytes(message.data).take();
}

Message ack_data(const Message& job, Bytes parameter, Bytes data) {
  return {MessageType::kAckData, job.reference, Error::kNone, std::move(parameter),
          std::move(data)};
}

Message refusal(const Message& job, Error error) {
  return {MessageType::kAck, job.reference, error, {}, {}};
}

}  // namespace plexum::sim
