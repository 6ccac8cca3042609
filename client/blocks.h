#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "client/wire/block_services.h"

// What a PLC tells of its blocks.
namespace plexum::client {

using wire::BlockId;
using wire::BlockType;

struct BlockCount {
  BlockType type{};
  std::size_t count = 0;

  bool operator==(const BlockCount&) const = default;
};

// One block of a list of blocks.
struct BlockEntry {
  std::uint16_t number = 0;
  std::uint8_t flags = 0;
  std::uint8_t language = 0;

  bool operator==(const BlockEntry&) const = default;
};

}  // namespace plexum::client
