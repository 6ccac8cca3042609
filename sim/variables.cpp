#include "sim/variables.h"

#include <algorithm>
#include <array>
#include <vector>

namespace plexum::sim {
namespace {

enum class ReturnCode : std::uint8_t {
  kAccessDenied = 0x03,
  kAddressOutOfRange = 0x05,
  kTypeNotSupported = 0x06,
  kTypeInconsistent = 0x07,
  kNoSuchObject = 0x0A,
  kSuccess = 0xFF,
};

// How a data item tells its length.
enum class DataType : std::uint8_t {
  kNone = 0x00,
  kBit = 0x03,      // in bits
  kByte = 0x04,     // in bits
  kInteger = 0x05,  // in bits
  kReal = 0x07,     // in bytes
  kOctets = 0x09,   // in bytes
};

constexpr bool counts_bits(DataType type) {
  return type == DataType::kBit || type == DataType::kByte || type == DataType::kInteger;
}

struct ElementType {
  std::uint8_t transport_size;  // in the item's address
  unsigned size;                // in bytes
  DataType answered_as;
};

constexpr std::uint8_t kBit = 0x01;
constexpr std::uint8_t kByte = 0x02;
constexpr std::uint8_t kCounter = 0x1C;
constexpr std::uint8_t kTimer = 0x1D;

constexpr std::array kElementTypes{
    ElementType{kBit, 1, DataType::kBit},        ElementType{kByte, 1, DataType::kByte},
    ElementType{0x03, 1, DataType::kOctets},   // CHAR
    ElementType{0x04, 2, DataType::kByte},     // WORD
    ElementType{0x05, 2, DataType::kInteger},  // INT
    ElementType{0x06, 4, DataType::kByte},     // DWORD
    ElementType{0x07, 4, DataType::kInteger},  // DINT
    ElementType{0x08, 4, DataType::kReal},     // REAL
    ElementType{kCounter, 2, DataType::kOctets}, ElementType{kTimer, 2, DataType::kOctets},
};

// One item's address, syntax S7ANY: 12 0A 10, transport size, count, data block, area, address.
struct Item {
  std::uint8_t syntax = 0;
  std::uint8_t transport_size = 0;
  std::size_t count = 0;
  std::uint16_t block = 0;
  Area area{};
  std::uint32_t address = 0;  // in bits; of timers and counters their number
};

constexpr std::uint8_t kVarSpec = 0x12;
constexpr std::uint8_t kS7Any = 0x10;
constexpr std::size_t kS7AnyLength = 10;

std::vector<Item> parse_items(const Message& job) {
  Reader reader(job.parameter);
  reader.take(1);  // the function
  std::vector<Item> items(reader.u8());
  if (items.empty()) throw Refusal{Error::kWrongFrame};
  for (Item& item : items) {
    reader.expect(kVarSpec, "variable specification");
    Reader address(reader.take(reader.u8()));
    item.syntax = address.u8();
    if (item.syntax != kS7Any) continue;
    if (address.left() != kS7AnyLength - 1) throw Malformed("S7ANY address");
    item.transport_size = address.u8();
    item.count = address.u16();
    item.block = address.u16();
    item.area = Area{address.u8()};
    item.address = address.u24();
  }
  if (reader.left() != 0) throw Malformed("bytes behind the items");
  return items;
}

// Where an item lies in its area, in bytes; for a single bit also which one of its byte. `code`
// says why it can't be reached.
struct Place {
  ReturnCode code = ReturnCode::kSuccess;
  const ElementType* type = nullptr;
  std::size_t start = 0;
  std::size_t size = 0;
  unsigned bit = 0;
};

Place locate(const Memory& memory, const Item& item) {
  const auto type =
      std::find_if(kElementTypes.begin(), kElementTypes.end(), [&](const ElementType& candidate) {
        return candidate.transport_size == item.transport_size;
      });
  if (item.syntax != kS7Any || type == kElementTypes.end()) return {ReturnCode::kTypeNotSupported};

  const Bytes* area = memory.find(item.area, item.block);
  if (area == nullptr) return {ReturnCode::kNoSuchObject};

  const bool numbered = item.transport_size == kCounter || item.transport_size == kTimer;
  const bool of_numbered_area = item.area == Area::kCounters || item.area == Area::kTimers;
  const bool fits = numbered ? item.transport_size == static_cast<std::uint8_t>(item.area)
                             : !of_numbered_area || item.transport_size == kByte;
  const bool single_bit = item.transport_size == kBit;
  if (!fits || (single_bit && item.count != 1)) return {ReturnCode::kTypeNotSupported};

  Place place{ReturnCode::kSuccess, &*type, 0, item.count * type->size, item.address % 8};
  place.start = numbered ? item.address * type->size : item.address / 8;
  const bool between_bytes = !numbered && !single_bit && place.bit != 0;
  if (item.count == 0 || between_bytes || place.start + place.size > area->size()) {
    place.code = ReturnCode::kAddressOutOfRange;
  }
  return place;
}

void append_read_item(Writer& data, const Memory& memory, const Item& item) {
  if (data.size() % 2 != 0) data.u8(0);  // every item but the last is padded to even
  const Place place = locate(memory, item);
  data.u8(static_cast<std::size_t>(place.code));
  if (place.code != ReturnCode::kSuccess) {
    data.u8(static_cast<std::size_t>(DataType::kNone)).u16(0);
    return;
  }
  const ByteView bytes =
      ByteView(*memory.find(item.area, item.block)).subspan(place.start, place.size);
  const DataType type = place.type->answered_as;
  data.u8(static_cast<std::size_t>(type));
  if (type == DataType::kBit) {
    data.u16(1).u8(static_cast<unsigned>(bytes[0]) >> place.bit & 1u);
  } else {
    data.u16(counts_bits(type) ? 8 * bytes.size() : bytes.size()).bytes(bytes);
  }
}

struct DataItem {
  DataType type{};
  Bytes bytes;
};

// The first byte is the return code in answers, and reserved in jobs. Some clients don't leave it
// 0, so it isn't tested.
DataItem parse_data_item(Reader& reader) {
  reader.take(1);
  DataItem item;
  item.type = DataType{reader.u8()};
  const std::size_t length = reader.u16();
  const ByteView bytes = reader.take(counts_bits(item.type) ? (length + 7) / 8 : length);
  item.bytes.assign(bytes.begin(), bytes.end());
  if (item.bytes.size() % 2 != 0 && reader.left() > 0) reader.take(1);
  return item;
}

ReturnCode write_item(Memory& memory, const Item& item, const DataItem& data,
                      bool write_protected) {
  const Place place = locate(memory, item);
  if (place.code != ReturnCode::kSuccess) return place.code;
  const bool read_only = item.area == Area::kTimers || item.area == Area::kCounters;
  if (read_only || write_protected) return ReturnCode::kAccessDenied;

  const bool single_bit = item.transport_size == kBit;
  if (single_bit != (data.type == DataType::kBit) || data.bytes.size() != place.size) {
    return ReturnCode::kTypeInconsistent;
  }
  const auto target =
      memory.find(item.area, item.block)->begin() + static_cast<std::ptrdiff_t>(place.start);
  if (single_bit) {
    const unsigned mask = 1u << place.bit;
    const unsigned set = (data.bytes[0] & 1u) << place.bit;
    *target = static_cast<std::uint8_t>((*target & ~mask) | set);
  } else {
    std::copy(data.bytes.begin(), data.bytes.end(), target);
  }
  return ReturnCode::kSuccess;
}

Bytes answer_parameter(Function function, std::size_t items) {
  return Writer().u8(static_cast<std::size_t>(function)).u8(items).take();
}

}  // namespace

Message read_variables(const Memory& memory, const Message& job, std::size_t pdu) {
  const std::vector<Item> items = parse_items(job);
  Writer data;
  for (const Item& item : items) {
    append_read_item(data, memory, item);
    if (data.size() > pdu) throw Refusal{Error::kWrongFrame};
  }
  Message answer =
      ack_data(job, answer_parameter(Function::kReadVariable, items.size()), data.take());
  if (answer.size() > pdu) throw Refusal{Error::kWrongFrame};
  return answer;
}

Message write_variables(Memory& memory, const Message& job, bool write_protected) {
  const std::vector<Item> items = parse_items(job);
  Reader reader(job.data);
  std::vector<DataItem> data;
  for (std::size_t i = 0; i < items.size(); ++i) data.push_back(parse_data_item(reader));
  if (reader.left() != 0) throw Malformed("bytes behind the data items");

  Writer codes;
  for (std::size_t i = 0; i < items.size(); ++i) {
    codes.u8(static_cast<std::size_t>(write_item(memory, items[i], data[i], write_protected)));
  }
  return ack_data(job, answer_parameter(Function::kWriteVariable, items.size()), codes.take());
}

}  // namespace plexum::sim
