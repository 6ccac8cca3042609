#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "client/wire/codes.h"

// What is read and written.
namespace plexum::client {

using wire::Area;
using wire::ElementType;
using wire::ErrorCode;
using wire::ReturnCode;

// A stretch of one of the PLC's memory areas, by elements: bytes as a rule, one bit, words or
// double words (peripherals may ask for their own size), timers, counters.
//
//   Item{.block = 10, .start = 4, .count = 4}                          DB10, bytes 4 to 7
//   Item{.area = Area::kFlags, .type = ElementType::kBit, .start = 20, .bit = 3}      M20.3
//   Item{.area = Area::kTimers, .type = ElementType::kTimer, .start = 5, .count = 2}  T5, T6
struct Item {
  Area area = Area::kDataBlock;
  std::uint16_t block = 0;  // number of the data block; other areas have none
  ElementType type = ElementType::kByte;
  std::uint32_t start = 0;  // first byte, 0 to 65535; of timers and counters the first one's number
  std::uint8_t bit = 0;     // 0 to 7, of a bit alone
  std::uint32_t count = 1;  // of elements; a bit has one

  // Of the data, in bytes. A bit is one byte, 00 or 01.
  [[nodiscard]] std::size_t size() const;
  // Whether S7 can name it: timers and counters have their own elements and no others do, a bit is
  // one of a byte, and nothing lies behind byte 65535.
  [[nodiscard]] bool is_valid() const;

  bool operator==(const Item&) const = default;
};

// Of an element, in bytes; of a bit 1.
std::size_t size_of(ElementType type);

// What became of one item that was to be read.
struct ReadOutcome {
  ReturnCode code = ReturnCode::kSuccess;  // the PLC's own for this item
  ErrorCode error;                         // of the job, where the PLC refused it as a whole
  std::string data;                        // all of it, or nothing

  [[nodiscard]] bool ok() const { return code == ReturnCode::kSuccess && !error; }
};

struct WriteItem {
  Item item;
  std::string data;  // as many bytes as the item has
};

// Bytes of an item's data.
struct Stretch {
  std::size_t offset = 0;
  std::size_t size = 0;

  bool operator==(const Stretch&) const = default;
};

// What became of one item that was to be written. A long item is written in several parts: where
// the PLC refuses one, others may have been written.
struct WriteOutcome {
  ReturnCode code = ReturnCode::kSuccess;  // of the first part that was refused
  ErrorCode error;                         // of the job, where the PLC refused it as a whole
  std::vector<Stretch> written;            // as the PLC confirmed, by offset
  std::vector<Stretch> in_doubt;           // sent, but the connection ended before the answer came

  [[nodiscard]] bool ok() const {
    return code == ReturnCode::kSuccess && !error && in_doubt.empty();
  }
};

}  // namespace plexum::client
