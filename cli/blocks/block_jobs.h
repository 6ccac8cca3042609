#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli/blocks/block.h"
#include "cli/link/plc_connection.h"

namespace plexum::cli {

// The PLC's blocks of one type. The control asks for the first part of the list only, and takes a
// refused list for an empty one.
struct BlockList {
  const BlockType* type = nullptr;
  std::vector<std::uint16_t> numbers;
  // Whether the list fills a first part, so that others may follow.
  bool may_be_cut = false;

  [[nodiscard]] bool has(std::uint16_t number) const;
};

// Whether a list of `count` entries may be the first part of a longer one, where the PLC is told to
// grant `pdu` bytes.
bool may_be_first_part(std::size_t count, unsigned pdu);

// All of them throw Failure.

BlockList list_blocks(PlcConnection& plc, const BlockType& type);
// Of every type.
std::vector<BlockList> list_all_blocks(PlcConnection& plc);

// Uploads a block; an image that isn't whole is asked for again.
BlockImage upload_block(PlcConnection& plc, const BlockName& name);

// Downloads a block, uploads it again and compares. Gives the outcome for people: "verified by
// uploading it again".
std::string download_block(PlcConnection& plc, const BlockImage& image);

// Deletes a block, then looks whether it is gone.
void delete_block(PlcConnection& plc, const BlockName& name);

}  // namespace plexum::cli
