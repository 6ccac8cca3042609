#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "client/item.h"
#include "client/wire/variables.h"

// How items become telegrams: a function of the items and of what the PLC granted.
namespace plexum::client {

struct Limits {
  std::size_t pdu = 240;   // that neither a job nor its answer may exceed, in bytes
  std::size_t items = 20;  // of one telegram
  bool join = true;        // neighbours, where that is cheaper

  bool operator==(const Limits&) const = default;
};

// The smallest PDU that there is a plan for.
inline constexpr std::size_t kSmallestPdu = 64;

// Bytes of a caller's item that lie in a piece.
struct Share {
  std::size_t item = 0;    // index in the caller's list
  std::size_t offset = 0;  // in the item's data
  std::size_t size = 0;    // of bytes
  std::size_t at = 0;      // in the piece's data
  int bit = -1;            // of that byte, where the item is a bit and the piece is bytes
};

// One item of a telegram: part of a caller's item, one as a whole, or several neighbours.
struct Piece {
  wire::ItemAddress address;
  std::size_t size = 0;  // of its data, in bytes
  std::size_t first_share = 0;
  std::size_t shares = 0;
};

struct PlannedTelegram {
  std::size_t first_piece = 0;
  std::size_t pieces = 0;
};

struct Plan {
  std::vector<PlannedTelegram> telegrams;
  std::vector<Piece> pieces;
  std::vector<Share> shares;
  std::size_t bytes = 0;  // of all jobs and answers, at most

  [[nodiscard]] std::span<const Piece> pieces_of(const PlannedTelegram& telegram) const {
    return std::span(pieces).subspan(telegram.first_piece, telegram.pieces);
  }
  [[nodiscard]] std::span<const Share> shares_of(const Piece& piece) const {
    return std::span(shares).subspan(piece.first_share, piece.shares);
  }
};

// Every byte of every item is in exactly one share. An item that fits into one telegram is never
// torn, so that its bytes are of one moment. Neighbours are read as one, gaps included, where that
// takes fewer telegrams, or as many and fewer bytes; peripherals never, because a gap may lie in
// another module.
//
// All items must be valid.
Plan plan_read(std::span<const Item> items, const Limits& limits);

// The same for a write: in the caller's order, and neighbours are joined only where one ends at the
// next one's first byte.
Plan plan_write(std::span<const WriteItem> items, const Limits& limits);

}  // namespace plexum::client
