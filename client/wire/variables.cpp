#include "client/wire/variables.h"

#include <algorithm>
#include <utility>

namespace plexum::wire {
namespace {

constexpr std::uint8_t kVariable = 0x12;
constexpr std::uint8_t kS7Any = 0x10;
constexpr std::size_t kS7AnySize = 10;

void build(const ItemAddress& item, Writer& out) {
  out.u8(kVariable).u8(kS7AnySize).u8(kS7Any).u8(static_cast<std::size_t>(item.type));
  out.u16(item.count).u16(item.block).u8(static_cast<std::size_t>(item.area)).u24(item.address);
}

void build(const std::vector<ItemAddress>& items, Writer& out) {
  out.u8(items.size());
  for (const ItemAddress& item : items) build(item, out);
}

void build(const std::vector<DataItem>& items, Writer& out) {
  bool odd = false;
  for (const DataItem& item : items) {
    if (odd) out.u8(0);
    std::size_t length = item.bytes.size();
    const bool single_bit = item.type == DataType::kBit && length == 1;
    // 8192 bytes have one bit more than the field can tell.
    if (counts_bits(item.type) && !single_bit) length = std::min<std::size_t>(8 * length, 0xFFFF);
    out.u8(static_cast<std::size_t>(item.code)).u8(static_cast<std::size_t>(item.type));
    out.u16(length).bytes(item.bytes);
    odd = item.bytes.size() % 2 != 0;
  }
}

Parsed<std::vector<ItemAddress>> parse_addresses(Reader& in) {
  std::vector<ItemAddress> items(in.u8());
  for (ItemAddress& item : items) {
    const std::uint8_t kind = in.u8();
    const std::uint8_t size = in.u8();
    const std::uint8_t syntax = in.u8();
    if (!in.ok()) return Fault{"ends within the items"};
    if (kind != kVariable || size != kS7AnySize || syntax != kS7Any) {
      return Fault{"an item whose address has another syntax"};
    }
    item.type = ElementType{in.u8()};
    item.count = in.u16();
    item.block = in.u16();
    item.area = Area{in.u8()};
    item.address = in.u24();
  }
  if (!in.ok()) return Fault{"ends within the items"};
  if (in.left() > 0) return Fault{"bytes behind the items"};
  return items;
}

Parsed<std::vector<DataItem>> parse_data(std::size_t count, Reader& in) {
  std::vector<DataItem> items(count);
  bool odd = false;
  for (DataItem& item : items) {
    if (odd) in.u8();
    item.code = ReturnCode{in.u8()};
    item.type = DataType{in.u8()};
    const std::size_t length = in.u16();
    const std::size_t size = counts_bits(item.type) ? (length + 7) / 8 : length;
    item.bytes = in.take(size);
    if (!in.ok()) return Fault{"ends within the data"};
    odd = size % 2 != 0;
  }
  // Some fill up behind the last item, too.
  if (in.left() > (odd ? 1u : 0u)) return Fault{"bytes behind the data"};
  return items;
}

}  // namespace

DataType data_type_of(ElementType type) {
  switch (type) {
    case ElementType::kBit:
      return DataType::kBit;
    case ElementType::kReal:
      return DataType::kReals;
    case ElementType::kInt:
    case ElementType::kDInt:
      return DataType::kIntegers;
    case ElementType::kChar:
    case ElementType::kCounter:
    case ElementType::kTimer:
      return DataType::kOctets;
    default:
      return DataType::kBytes;
  }
}

void build(const ReadJob& job, Writer& parameter, Writer& /*data*/) { build(job.items, parameter); }

void build(const WriteJob& job, Writer& parameter, Writer& data) {
  build(job.items, parameter);
  build(job.values, data);
}

void build(const ReadAnswer& answer, Writer& parameter, Writer& data) {
  parameter.u8(answer.items.size());
  build(answer.items, data);
}

void build(const WriteAnswer& answer, Writer& parameter, Writer& data) {
  parameter.u8(answer.codes.size());
  for (const ReturnCode code : answer.codes) data.u8(static_cast<std::size_t>(code));
}

Parsed<ReadJob> parse_read_job(Reader parameter) {
  auto items = parse_addresses(parameter);
  if (!items) return items.fault();
  return ReadJob{std::move(*items)};
}

Parsed<WriteJob> parse_write_job(Reader parameter, Reader data) {
  auto items = parse_addresses(parameter);
  if (!items) return items.fault();
  auto values = parse_data(items->size(), data);
  if (!values) return values.fault();
  return WriteJob{std::move(*items), std::move(*values)};
}

Parsed<ReadAnswer> parse_read_answer(Reader parameter, Reader data) {
  const std::size_t count = parameter.u8();
  if (!parameter.ok()) return Fault{"ends before the number of items"};
  auto items = parse_data(count, data);
  if (!items) return items.fault();
  return ReadAnswer{std::move(*items)};
}

Parsed<WriteAnswer> parse_write_answer(Reader parameter, Reader data) {
  WriteAnswer answer;
  answer.codes.resize(parameter.u8());
  if (!parameter.ok()) return Fault{"ends before the number of items"};
  for (ReturnCode& code : answer.codes) code = ReturnCode{data.u8()};
  if (!data.ok()) return Fault{"ends within the return codes"};
  return answer;
}

}  // namespace plexum::wire
