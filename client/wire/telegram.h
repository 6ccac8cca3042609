#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

#include "client/wire/parsed.h"

// Telegrams: TPKT (RFC 1006) around transport units of COTP (ISO 8073, class 0).
namespace plexum::wire {

// CR and CC: the references of both ends, the largest TPDU, the TSAPs.
struct ConnectionUnit {
  std::uint16_t destination = 0;
  std::uint16_t source = 0;
  std::uint8_t tpdu_size = 0;  // as a power of two, 7 to 13; 0: not told
  std::string calling_tsap;
  std::string called_tsap;

  bool operator==(const ConnectionUnit&) const = default;
};

struct ConnectionRequest : ConnectionUnit {};  // CR
struct ConnectionConfirm : ConnectionUnit {};  // CC

// DR: the other end ends the connection, or doesn't want it.
struct DisconnectRequest {
  std::uint16_t destination = 0;
  std::uint16_t source = 0;
  std::uint8_t reason = 0;

  bool operator==(const DisconnectRequest&) const = default;
};

// DT: a message, or a fragment of one. `bytes` are those of what was parsed.
struct DataUnit {
  bool last = true;  // of its message
  std::string_view bytes;

  bool operator==(const DataUnit&) const = default;
};

// Any other unit; `code` is its kind.
struct OtherUnit {
  std::uint8_t code = 0;

  bool operator==(const OtherUnit&) const = default;
};

using Unit =
    std::variant<ConnectionRequest, ConnectionConfirm, DisconnectRequest, DataUnit, OtherUnit>;

// In front of the bytes of a data unit: TPKT and the unit's own header.
inline constexpr std::size_t kTpktHeader = 4;
inline constexpr std::size_t kDataUnitHeader = 3;
inline constexpr std::size_t kLongestTelegram = 65535;
// TPDU sizes as a power of two, in bytes 128 to 8192.
inline constexpr std::uint8_t kSmallestTpdu = 7;
inline constexpr std::uint8_t kLargestTpdu = 13;

std::string build(const Unit& unit);

// Appends a message in as many telegrams as it takes; `tpdu` is the most that a unit may have, in
// bytes, its header included.
void append_telegrams(std::string_view message, std::size_t tpdu, std::string& bytes);

// A whole telegram.
Parsed<Unit> parse_telegram(std::string_view telegram);

}  // namespace plexum::wire
