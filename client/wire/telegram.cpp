#include "client/wire/telegram.h"

#include <algorithm>

#include "client/wire/bytes.h"

namespace plexum::wire {
namespace {

constexpr std::uint8_t kVersion = 3;

// Codes of transport units; a request's lower half byte is its credit, 0 in class 0.
constexpr std::uint8_t kRequestCode = 0xE0;
constexpr std::uint8_t kConfirmCode = 0xD0;
constexpr std::uint8_t kDisconnectCode = 0x80;
constexpr std::uint8_t kDataCode = 0xF0;
constexpr std::uint8_t kLast = 0x80;

// Codes of a connection unit's parameters.
constexpr std::uint8_t kTpduSize = 0xC0;
constexpr std::uint8_t kCallingTsap = 0xC1;
constexpr std::uint8_t kCalledTsap = 0xC2;

std::string telegram_of(std::string_view unit_header) {
  std::string bytes;
  Writer(bytes)
      .u8(kVersion)
      .u8(0)
      .u16(kTpktHeader + 1 + unit_header.size())
      .u8(unit_header.size())
      .bytes(unit_header);
  return bytes;
}

std::string build_connection(std::uint8_t code, const ConnectionUnit& unit) {
  std::string header;
  Writer out(header);
  out.u8(code).u16(unit.destination).u16(unit.source).u8(0);
  if (unit.tpdu_size != 0) out.u8(kTpduSize).u8(1).u8(unit.tpdu_size);
  if (!unit.calling_tsap.empty()) {
    out.u8(kCallingTsap).u8(unit.calling_tsap.size()).bytes(unit.calling_tsap);
  }
  if (!unit.called_tsap.empty()) {
    out.u8(kCalledTsap).u8(unit.called_tsap.size()).bytes(unit.called_tsap);
  }
  return telegram_of(header);
}

void append_data_unit(const DataUnit& unit, std::string& bytes) {
  Writer(bytes)
      .u8(kVersion)
      .u8(0)
      .u16(kTpktHeader + kDataUnitHeader + unit.bytes.size())
      .u8(kDataUnitHeader - 1)
      .u8(kDataCode)
      .u8(unit.last ? kLast : 0)
      .bytes(unit.bytes);
}

struct Builder {
  std::string operator()(const ConnectionRequest& unit) const {
    return build_connection(kRequestCode, unit);
  }
  std::string operator()(const ConnectionConfirm& unit) const {
    return build_connection(kConfirmCode, unit);
  }
  std::string operator()(const DisconnectRequest& unit) const {
    std::string header;
    Writer(header).u8(kDisconnectCode).u16(unit.destination).u16(unit.source).u8(unit.reason);
    return telegram_of(header);
  }
  std::string operator()(const DataUnit& unit) const {
    std::string bytes;
    append_data_unit(unit, bytes);
    return bytes;
  }
  std::string operator()(const OtherUnit& unit) const {
    return telegram_of(std::string(1, static_cast<char>(unit.code)));
  }
};

// From behind the unit's code on.
Parsed<Unit> parse_connection(std::uint8_t code, Reader in) {
  ConnectionUnit unit;
  unit.destination = in.u16();
  unit.source = in.u16();
  in.u8();  // class and options
  while (in.ok() && in.left() > 0) {
    const std::uint8_t parameter = in.u8();
    const std::string_view value = in.take(in.u8());
    if (parameter == kTpduSize && value.size() == 1) {
      unit.tpdu_size = static_cast<std::uint8_t>(value.front());
    }
    if (parameter == kCallingTsap) unit.calling_tsap = value;
    if (parameter == kCalledTsap) unit.called_tsap = value;
  }
  if (!in.ok()) return Fault{"ends within a connection request or confirm"};
  if (code == kRequestCode) return Unit(ConnectionRequest{unit});
  return Unit(ConnectionConfirm{unit});
}

}  // namespace

std::string build(const Unit& unit) { return std::visit(Builder(), unit); }

void append_telegrams(std::string_view message, std::size_t tpdu, std::string& bytes) {
  const std::size_t most = std::max<std::size_t>(tpdu, kDataUnitHeader + 1) - kDataUnitHeader;
  while (message.size() > most) {
    append_data_unit({false, message.substr(0, most)}, bytes);
    message.remove_prefix(most);
  }
  append_data_unit({true, message}, bytes);
}

Parsed<Unit> parse_telegram(std::string_view telegram) {
  Reader in(telegram);
  if (in.u8() != kVersion) return Fault{"no TPKT"};
  in.u8();  // reserved
  if (in.u16() != telegram.size()) return Fault{"a TPKT of another length"};
  Reader header(in.take(in.u8()));
  const std::uint8_t whole_code = header.u8();
  if (!in.ok() || !header.ok()) return Fault{"a TPKT without a transport unit"};
  const auto code = static_cast<std::uint8_t>(whole_code & 0xF0);
  switch (code) {
    case kRequestCode:
    case kConfirmCode:
      return parse_connection(code, header);
    case kDisconnectCode: {
      DisconnectRequest unit;
      unit.destination = header.u16();
      unit.source = header.u16();
      unit.reason = header.u8();
      if (!header.ok()) return Fault{"ends within a disconnect request"};
      return Unit(unit);
    }
    case kDataCode: {
      const std::uint8_t number = header.u8();
      if (!header.ok()) return Fault{"ends within a data unit's header"};
      return Unit(DataUnit{(number & kLast) != 0, in.take(in.left())});
    }
    default:
      return Unit(OtherUnit{whole_code});
  }
}

}  // namespace plexum::wire
