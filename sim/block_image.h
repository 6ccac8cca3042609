#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "sim/bytes.h"

namespace plexum::sim {

// As in a block's header. Designations write it as two hexadecimal digits, "08" to "0F".
enum class BlockType : std::uint8_t {
  kOrganisation = 0x08,
  kData = 0x0A,
  kSystemData = 0x0B,
  kFunction = 0x0C,
  kSystemFunction = 0x0D,
  kFunctionBlock = 0x0E,
  kSystemFunctionBlock = 0x0F,
};

// All of them, in the order in which CPUs count their blocks in recorded dialogues.
inline constexpr std::array kBlockTypes{
    BlockType::kOrganisation,
    BlockType::kFunctionBlock,
    BlockType::kFunction,
    BlockType::kData,
    BlockType::kSystemData,
    BlockType::kSystemFunction,
    BlockType::kSystemFunctionBlock,
};

// Its two digits, and the way back, which throws Refusal with Error::kBlockName.
std::string digits_of(BlockType type);
BlockType parse_block_type(std::string_view digits);

struct BlockId {
  BlockType type{};
  std::uint16_t number = 0;

  // From a designation's two characters and five digits. Throws Refusal with Error::kBlockName.
  static BlockId parse(std::string_view type, std::string_view number);

  // The designation: two characters and five digits.
  std::string designation() const;

  bool operator<(const BlockId& other) const {
    return std::pair(type, number) < std::pair(other.type, other.number);
  }
};

// The header of a block image in the CPU's MC7 form:
//
//   0   70 70, version, attributes           16  time of the code    (ms of the day, 4 bytes,
//   4   language                             22  time of the interface    and days since 1984, 2)
//   5   type                                 28  length of the interface section
//   6   number                               30  length of the segment table
//   8   length of the image (4 bytes)        32  local data
//   12  password (4 bytes)                   34  length of the code section, or of a DB's data
//
// Behind it come code, interface and segment table, then author, family, name (8 characters each),
// version, checksum and reserve: 36 bytes where a programming tool made the block.
struct BlockHeader {
  static constexpr std::size_t kSize = 36;
  static constexpr std::size_t kFootSize = 36;

  BlockId id;
  std::uint8_t language = 0;
  std::size_t image_length = 0;
  std::size_t interface_length = 0;
  std::size_t segments_length = 0;
  std::size_t code_length = 0;
};

// Throws Refusal: Error::kBlockStructure when `image` doesn't begin with a header,
// Error::kBlockLengths when the header's lengths aren't those of the image.
BlockHeader parse_block_header(ByteView image);

// An image around `code`, with an author's foot.
Bytes make_block_image(const BlockId& id, std::uint8_t language, std::string_view name,
                       ByteView code);

// The header, and the foot where there is one, as the block information gives them.
Bytes block_summary(ByteView image);

}  // namespace plexum::sim
