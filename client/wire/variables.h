#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "client/wire/bytes.h"
#include "client/wire/codes.h"
#include "client/wire/parsed.h"

// Reading and writing variables: functions 04 and 05.
namespace plexum::wire {

// Where an item lies, syntax S7ANY: 12 0A 10, type, count, block, area, address.
struct ItemAddress {
  ElementType type = ElementType::kByte;
  std::uint16_t count = 0;  // of elements
  std::uint16_t block = 0;  // number of the data block; 0 for other areas
  Area area = Area::kDataBlock;
  std::uint32_t address = 0;  // in bits, 24 of them; of timers and counters their number

  bool operator==(const ItemAddress&) const = default;
};

// An item's data: what an answer to a read carries for each item, and a write for each. A bit is
// one byte, 00 or 01.
struct DataItem {
  ReturnCode code = ReturnCode::kReserved;  // of answers; a job has 00 here
  DataType type = DataType::kNone;
  std::string bytes;

  bool operator==(const DataItem&) const = default;
};

struct ReadJob {
  std::vector<ItemAddress> items;
  bool operator==(const ReadJob&) const = default;
};

struct ReadAnswer {
  std::vector<DataItem> items;
  bool operator==(const ReadAnswer&) const = default;
};

// `values` has one element for each of `items`.
struct WriteJob {
  std::vector<ItemAddress> items;
  std::vector<DataItem> values;
  bool operator==(const WriteJob&) const = default;
};

struct WriteAnswer {
  std::vector<ReturnCode> codes;
  bool operator==(const WriteAnswer&) const = default;
};

// What items take in telegrams, in bytes. In front of the items stand the message's header,
// function and count.
inline constexpr std::size_t kItemsHead = 2;
inline constexpr std::size_t kItemAddressSize = 12;
inline constexpr std::size_t kDataItemHead = 4;
inline constexpr std::size_t kMostItems = 255;  // their count is one byte

// Data of an odd length are filled up by a byte where another item follows.
constexpr std::size_t with_fill_byte(std::size_t size) { return size + size % 2; }

// How data of such an element are sent.
DataType data_type_of(ElementType type);

// What follows the function code in the parameter, and the data.
void build(const ReadJob& job, Writer& parameter, Writer& data);
void build(const WriteJob& job, Writer& parameter, Writer& data);
void build(const ReadAnswer& answer, Writer& parameter, Writer& data);
void build(const WriteAnswer& answer, Writer& parameter, Writer& data);
Parsed<ReadJob> parse_read_job(Reader parameter);
Parsed<WriteJob> parse_write_job(Reader parameter, Reader data);
Parsed<ReadAnswer> parse_read_answer(Reader parameter, Reader data);
Parsed<WriteAnswer> parse_write_answer(Reader parameter, Reader data);

}  // namespace plexum::wire
