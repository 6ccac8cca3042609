#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli/blocks/block.h"
#include "cli/link/session.h"

namespace plexum::cli {

// The PLC's blocks of one type, as far as the control tells them: it asks for the first part of the
// list only, and takes a refused list for an empty one.
struct BlockList {
  const BlockType* type = nullptr;
  std::vector<std::uint16_t> numbers;
  // The list fills a first part, so that others may follow.
  bool may_be_cut = false;

  [[nodiscard]] bool has(std::uint16_t number) const;
};

// Whether a list of `count` entries may be the first part of a longer one, where the PLC is told to
// grant `pdu` bytes.
bool may_be_first_part(std::size_t count, unsigned pdu);

// All of them throw Failure.

BlockList list_blocks(Session& session, const BlockType& type);
// Of every type.
std::vector<BlockList> list_all_blocks(Session& session);

// Uploads a block; an image that isn't whole is asked for again. `refused`, where it is given,
// becomes true when it was the PLC that said no, so that others may still be had.
BlockImage upload_block(Session& session, const BlockName& name, bool* refused = nullptr);

// Downloads a block and uploads it again to compare. How that went, for people: "verified by
// uploading it again".
std::string download_block(Session& session, const BlockImage& image);

// Deletes a block, and looks whether it is gone.
void delete_block(Session& session, const BlockName& name);

}  // namespace plexum::cli
