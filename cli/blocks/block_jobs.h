#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "cli/blocks/block.h"
#include "cli/link/plc_connection.h"

namespace plexum::cli {

// The PLC's blocks of one type.
struct BlockList {
  const BlockType* type = nullptr;
  std::vector<std::uint16_t> numbers;
};

// All of them throw Failure.

// How many blocks there are of each type, in the order of block_types().
std::vector<std::pair<const BlockType*, std::size_t>> count_blocks(PlcConnection& plc);

BlockList list_blocks(PlcConnection& plc, const BlockType& type);
// Of every type.
std::vector<BlockList> list_all_blocks(PlcConnection& plc);

// Uploads a block, and checks that it is a whole image of that block.
BlockImage upload_block(PlcConnection& plc, const BlockName& name);

// Downloads a block and puts it into use. Then it uploads the block again and compares. Gives the
// outcome for people: "verified by uploading it again".
std::string download_block(PlcConnection& plc, const BlockImage& image);

void delete_block(PlcConnection& plc, const BlockName& name);

}  // namespace plexum::cli
