#include "sim/block_image.h"

#include <algorithm>
#include <charconv>

#include "sim/message.h"

namespace plexum::sim {
namespace {

constexpr unsigned kMagic = 0x7070;
constexpr std::size_t kDigits = 5;
constexpr std::uint8_t kVersion = 1;
constexpr std::uint8_t kLinked = 1;

// When the shipped program was made: 2026-01-05, 08:00.
constexpr unsigned kMadeAtMillisecond = 8 * 3'600'000;
constexpr unsigned kMadeOnDay = 15'345;

constexpr std::string_view kAuthor = "PLEXUM";
constexpr std::string_view kFamily = "SAMPLE";
constexpr std::size_t kNameLength = 8;
constexpr unsigned kBlockVersion = 0x0100;

}  // namespace

std::string digits_of(BlockType type) {
  return std::string("0") + "0123456789ABCDEF"[static_cast<std::size_t>(type) % 16];
}

BlockType parse_block_type(std::string_view digits) {
  const auto found = std::find_if(kBlockTypes.begin(), kBlockTypes.end(),
                                  [&](BlockType type) { return digits_of(type) == digits; });
  if (found == kBlockTypes.end()) throw Refusal{Error::kBlockName};
  return *found;
}

BlockId BlockId::parse(std::string_view type, std::string_view number) {
  BlockId id;
  id.type = parse_block_type(type);
  const char* const end = number.data() + number.size();
  const auto result = std::from_chars(number.data(), end, id.number);
  if (result.ec != std::errc() || result.ptr != end) throw Refusal{Error::kBlockName};
  return id;
}

std::string BlockId::designation() const {
  std::string digits = std::to_string(number);
  digits.insert(0, kDigits - digits.size(), '0');
  return digits_of(type) + digits;
}

BlockHeader parse_block_header(ByteView image) {
  if (image.size() < BlockHeader::kSize) throw Refusal{Error::kBlockLengths};
  Reader reader(image);
  BlockHeader header;
  if (reader.u16() != kMagic) throw Refusal{Error::kBlockStructure};
  reader.take(2);  // version, attributes
  header.language = reader.u8();
  header.id.type = BlockType{reader.u8()};
  header.id.number = reader.u16();
  header.image_length = reader.u32();
  reader.take(16);  // password, times
  header.interface_length = reader.u16();
  header.segments_length = reader.u16();
  reader.take(2);  // local data
  header.code_length = reader.u16();
  const std::size_t sections =
      header.code_length + header.interface_length + header.segments_length;
  if (header.image_length != image.size() || sections > reader.left()) {
    throw Refusal{Error::kBlockLengths};
  }
  return header;
}

Bytes make_block_image(const BlockId& id, std::uint8_t language, std::string_view name,
                       ByteView code) {
  Writer writer;
  writer.u16(kMagic).u8(kVersion).u8(kLinked);
  writer.u8(language).u8(static_cast<std::size_t>(id.type)).u16(id.number);
  writer.u32(BlockHeader::kSize + code.size() + BlockHeader::kFootSize);
  writer.u32(0);                                   // password
  writer.u32(kMadeAtMillisecond).u16(kMadeOnDay);  // code
  writer.u32(kMadeAtMillisecond).u16(kMadeOnDay);  // interface
  writer.u16(0).u16(0).u16(0).u16(code.size());
  writer.bytes(code);
  writer.field(kAuthor, kNameLength).field(kFamily, kNameLength).field(name, kNameLength);
  writer.u16(kBlockVersion).u16(0).zeros(8);
  return writer.take();
}

Bytes block_summary(ByteView image) {
  const BlockHeader header = parse_block_header(image);
  Writer writer;
  writer.bytes(image.first(BlockHeader::kSize));
  const std::size_t sections =
      BlockHeader::kSize + header.code_length + header.interface_length + header.segments_length;
  const bool has_foot = image.size() >= sections + BlockHeader::kFootSize;
  if (has_foot) return writer.bytes(image.last(BlockHeader::kFootSize)).take();
  return writer.zeros(BlockHeader::kFootSize).take();
}

}  // namespace plexum::sim
