#pragma once

#include "sim/block_image.h"

namespace plexum::sim {

// What uploads and downloads have in common.

// In front of a transfer's block: function, status, two fixed bytes, transfer id.
inline constexpr std::size_t kTransferHead = 1 + 1 + 2 + 4;

// Behind the length of each part of an image.
inline constexpr unsigned kPartMark = 0x00FB;

// The block of a transfer: 09 '_', its designation and the letter of the file system.
struct TransferredBlock {
  BlockId id;
  std::uint8_t file_system = 0;
};

// Throws Refusal and Malformed.
inline TransferredBlock parse_transferred_block(Reader& reader) {
  reader.expect(9, "length of the block's name");
  reader.expect('_', "the block's name");
  const std::string type = reader.text(2);
  const std::string number = reader.text(5);
  return {BlockId::parse(type, number), reader.u8()};
}

}  // namespace plexum::sim
