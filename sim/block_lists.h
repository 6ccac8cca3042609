#pragma once

#include "sim/block_store.h"

namespace plexum::sim {

// What the block functions answer. All throw Refusal.

// For each type its two characters and the number of its blocks.
Bytes count_blocks(const BlockStore& blocks);

// For the type that `request` names: number, flags and language of each block.
// Error::kNoBlockOfType when there is none.
Bytes list_blocks(const BlockStore& blocks, Reader request);

// For the block that `request` designates: its header and foot.
Bytes block_information(const BlockStore& blocks, Reader request);

}  // namespace plexum::sim
