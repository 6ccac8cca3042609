#include "sim/message.h"

#include <utility>

namespace plexum::sim {
namespace {

constexpr std::uint8_t kProtocolId = 0x32;
constexpr std::size_t kHeaderSize = 10;
constexpr std::size_t kErrorSize = 2;  // error class and code, behind an acknowledgement's header

bool carries_error(MessageType type) {
  return type == MessageType::kAck || type == MessageType::kAckData;
}

std::size_t size_of(MessageType type, std::size_t parameter, std::size_t data) {
  return kHeaderSize + (carries_error(type) ? kErrorSize : 0) + parameter + data;
}

// What stands in front of the error, the parameter and the data.
struct Header {
  MessageType type;
  std::uint16_t reference;
  std::size_t parameter_length;
  std::size_t data_length;
};

Header take_header(Reader& reader) {
  reader.expect(kProtocolId, "protocol id");
  const MessageType type{reader.u8()};
  reader.take(2);  // reserved
  const std::uint16_t reference = reader.u16();
  const std::size_t parameter_length = reader.u16();
  return {type, reference, parameter_length, reader.u16()};
}

}  // namespace

std::size_t Message::size() const { return size_of(type, parameter.size(), data.size()); }

std::optional<std::size_t> announced_length(ByteView front) {
  if (front.size() < kHeaderSize || front[0] != kProtocolId) return {};
  Reader reader(front);
  const Header header = take_header(reader);
  return size_of(header.type, header.parameter_length, header.data_length);
}

Message parse_message(ByteView bytes) {
  Reader reader(bytes);
  const Header header = take_header(reader);
  switch (header.type) {
    case MessageType::kJob:
    case MessageType::kAck:
    case MessageType::kAckData:
    case MessageType::kUserdata:
      break;
    default:
      throw Malformed("message type");
  }
  Message message;
  message.type = header.type;
  message.reference = header.reference;
  if (carries_error(message.type)) message.error = Error{reader.u16()};
  const ByteView parameter = reader.take(header.parameter_length);
  message.parameter.assign(parameter.begin(), parameter.end());
  const ByteView data = reader.take(header.data_length);
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
