#pragma once

#include <cstdint>
#include <optional>

#include "sim/bytes.h"

namespace plexum::sim {

// One transport unit (ISO 8073, class 0) as it came in a TPKT (RFC 1006).
struct TransportUnit {
  enum class Kind : std::uint8_t { kConnectionRequest, kDisconnectRequest, kData };
  Kind kind;
  Bytes content;  // of data: the S7 message; otherwise the unit without its length indicator
};

// Cuts the bytes of one connection into transport units, in whatever pieces they arrive.
//
// Some clients announce a longer TPKT than they send. So a data unit is complete as soon as its S7
// message is, by the lengths in the message's own header. The bytes that are still announced then
// are skipped if they come, up to the start of the next TPKT.
class Framing {
 public:
  void feed(ByteView bytes);

  // The next complete unit, or nothing. Throws Malformed on input that is no TPKT with a transport
  // unit in it; the connection is then of no more use.
  std::optional<TransportUnit> next();

  // Bytes of what isn't complete yet. They are at most as many as two of the longest TPKTs.
  std::size_t kept() const { return buffer_.size() + message_.size(); }

 private:
  void skip_announced();
  std::optional<std::size_t> complete_length() const;

  Bytes buffer_;
  Bytes message_;              // the fragments of a message whose last one hasn't come yet
  std::size_t announced_ = 0;  // bytes of the last TPKT, behind its message
};

// A connection request: the caller's reference and its parameters.
struct ConnectionRequest {
  std::uint16_t source_reference = 0;
  std::optional<std::uint8_t> tpdu_size;  // as a power of two
  Bytes calling_tsap;
  Bytes called_tsap;
};

// Throws Malformed on a request that isn't class 0 or lacks a TSAP.
ConnectionRequest parse_connection_request(ByteView unit);

// The confirm, TPKT included; 22 bytes when all three parameters came with two-byte TSAPs.
Bytes connection_confirm(const ConnectionRequest& request);

// One S7 message in a TPKT of its own.
Bytes wrap_message(ByteView message);

}  // namespace plexum::sim
