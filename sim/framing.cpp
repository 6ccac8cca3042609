#include "sim/framing.h"

#include <algorithm>

#include "sim/message.h"

namespace plexum::sim {
namespace {

// TPKT (RFC 1006, section 6): version, reserved, length of all of it.
constexpr std::uint8_t kTpktVersion = 3;
constexpr std::size_t kTpktHeader = 4;
constexpr std::size_t kShortestTpkt = 7;
constexpr std::size_t kLongestMessage = 65535;

// Transport units (ISO 8073, section 13).
constexpr std::uint8_t kConnectionRequestCode = 0xE0;
constexpr std::uint8_t kConnectionConfirmCode = 0xD0;
constexpr std::uint8_t kDisconnectRequestCode = 0x80;
constexpr std::uint8_t kDataCode = 0xF0;
constexpr std::uint8_t kDataLengthIndicator = 2;
constexpr std::uint8_t kEndOfMessage = 0x80;
constexpr std::uint8_t kTpduSize = 0xC0;
constexpr std::uint8_t kCallingTsap = 0xC1;
constexpr std::uint8_t kCalledTsap = 0xC2;
constexpr std::size_t kLongestTsap = 16;
constexpr std::uint8_t kSmallestTpdu = 7;   // 128 bytes
constexpr std::uint8_t kLargestTpdu = 13;   // 8192 bytes
constexpr std::uint16_t kOwnReference = 3;  // as in all recorded dialogues with CPUs

constexpr std::size_t kDataHeader = kTpktHeader + 3;  // TPKT and the data unit's header

// The length that a TPKT announces, all of it.
std::size_t tpkt_length(ByteView front) {
  Reader reader(front);
  reader.take(2);  // version, reserved
  return reader.u16();
}

}  // namespace

void Framing::feed(ByteView bytes) { buffer_.insert(buffer_.end(), bytes.begin(), bytes.end()); }

void Framing::skip_announced() {
  std::size_t skipped = 0;
  while (announced_ > 0 && skipped < buffer_.size() && buffer_[skipped] != kTpktVersion) {
    ++skipped;
    --announced_;
  }
  buffer_.erase(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(skipped));
}

// The length of the TPKT at the buffer's front, or of its S7 message where that ends sooner;
// nothing while the buffer doesn't hold it whole.
std::optional<std::size_t> Framing::complete_length() const {
  if (!buffer_.empty() && buffer_[0] != kTpktVersion) throw Malformed("no TPKT");
  if (buffer_.size() < kTpktHeader) return {};
  std::size_t length = tpkt_length(buffer_);
  if (length < kShortestTpkt) throw Malformed("TPKT without a transport unit");

  const bool begins_message = message_.empty() && buffer_.size() > kDataHeader &&
                              buffer_[kTpktHeader] == kDataLengthIndicator &&
                              buffer_[kTpktHeader + 1] == kDataCode &&
                              buffer_[kTpktHeader + 2] == kEndOfMessage;
  if (begins_message) {
    const ByteView arrived = ByteView(buffer_).first(std::min(length, buffer_.size()));
    const std::optional<std::size_t> announced = announced_length(arrived.subspan(kDataHeader));
    if (announced) length = std::min(length, kDataHeader + *announced);
  }
  if (buffer_.size() < length) return {};
  return length;
}

std::optional<TransportUnit> Framing::next() {
  for (;;) {
    skip_announced();
    const std::optional<std::size_t> length = complete_length();
    if (!length) return {};
    const std::size_t tpkt = tpkt_length(buffer_);
    const Bytes telegram(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(*length));
    buffer_.erase(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(*length));
    announced_ = tpkt - *length;

    Reader reader(telegram);
    reader.take(kTpktHeader);
    const std::size_t indicator = reader.u8();
    if (indicator < kDataLengthIndicator || indicator > reader.left()) {
      throw Malformed("transport unit longer than its TPKT");
    }
    const std::uint8_t code = ByteView(telegram)[kTpktHeader + 1];
    switch (code) {
      case kConnectionRequestCode:
      case kDisconnectRequestCode: {
        if (indicator != reader.left()) throw Malformed("transport unit with bytes behind it");
        const ByteView unit = reader.take(indicator);
        const auto kind = code == kConnectionRequestCode ? TransportUnit::Kind::kConnectionRequest
                                                         : TransportUnit::Kind::kDisconnectRequest;
        return TransportUnit{kind, Bytes(unit.begin(), unit.end())};
      }
      case kDataCode: {
        if (indicator != kDataLengthIndicator) throw Malformed("data unit's header length");
        reader.take(1);
        const std::uint8_t end = reader.u8();
        const ByteView content = reader.take(reader.left());
        if (message_.size() + content.size() > kLongestMessage) throw Malformed("endless message");
        message_.insert(message_.end(), content.begin(), content.end());
        // More fragments follow. Some programming tools send an empty one after each answer.
        if ((end & kEndOfMessage) == 0) continue;
        TransportUnit unit{TransportUnit::Kind::kData, {}};
        unit.content.swap(message_);
        return unit;
      }
      default:
        throw Malformed("unknown transport unit");
    }
  }
}

ConnectionRequest parse_connection_request(ByteView unit) {
  Reader reader(unit);
  reader.expect(kConnectionRequestCode, "no connection request");
  if (reader.u16() != 0) throw Malformed("connection request with a destination reference");
  ConnectionRequest request;
  request.source_reference = reader.u16();
  if (reader.u8() >> 4 != 0) throw Malformed("transport class other than 0");
  while (reader.left() > 0) {
    const std::uint8_t code = reader.u8();
    const ByteView value = reader.take(reader.u8());
    switch (code) {
      case kTpduSize:
        if (value.size() != 1 || value[0] < kSmallestTpdu || value[0] > kLargestTpdu) {
          throw Malformed("TPDU size");
        }
        request.tpdu_size = value[0];
        break;
      case kCallingTsap:
        request.calling_tsap.assign(value.begin(), value.end());
        break;
      case kCalledTsap:
        request.called_tsap.assign(value.begin(), value.end());
        break;
      default:  // ISO 8073, 13.3.4: unknown parameters of a connection request are ignored
        break;
    }
  }
  for (const Bytes* tsap : {&request.calling_tsap, &request.called_tsap}) {
    if (tsap->empty() || tsap->size() > kLongestTsap) throw Malformed("TSAP");
  }
  return request;
}

Bytes connection_confirm(const ConnectionRequest& request) {
  Writer unit;
  unit.u8(kConnectionConfirmCode).u16(request.source_reference).u16(kOwnReference).u8(0);
  if (request.tpdu_size) unit.u8(kTpduSize).u8(1).u8(*request.tpdu_size);
  unit.u8(kCallingTsap).u8(request.calling_tsap.size()).bytes(request.calling_tsap);
  unit.u8(kCalledTsap).u8(request.called_tsap.size()).bytes(request.called_tsap);
  return Writer()
      .u8(kTpktVersion)
      .u8(0)
      .u16(kTpktHeader + 1 + unit.size())
      .u8(unit.size())
      .bytes(unit.take())
      .take();
}

Bytes wrap_message(ByteView message) {
  return Writer()
      .u8(kTpktVersion)
      .u8(0)
      .u16(kDataHeader + message.size())
      .u8(kDataLengthIndicator)
      .u8(kDataCode)
      .u8(kEndOfMessage)
      .bytes(message)
      .take();
}

}  // namespace plexum::sim
