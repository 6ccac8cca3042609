#pragma once

#include <map>
#include <vector>

#include "sim/block_image.h"
#include "sim/memory.h"

namespace plexum::sim {

// The blocks of the PLC: a small program (OB 1, which calls FC 1 and FC 2; FB 1), a few system
// data blocks, the CPU's own system functions, and the data blocks.
//
// The values of the data blocks are in the memory. So the image of a data block carries the values
// of now, and a data block that was never downloaded gets an image when it is asked for.
class BlockStore {
 public:
  explicit BlockStore(Memory& memory);

  struct Entry {
    std::uint16_t number;
    std::uint8_t flags;
    std::uint8_t language;
  };

  // The blocks of a type by number.
  std::vector<Entry> list(BlockType type) const;

  // Throws Refusal: Error::kNoSuchBlock, or Error::kAccessRefused for the CPU's own blocks.
  Bytes image(const BlockId& id) const;

  // What was announced of a block that is downloaded; lengths in bytes.
  struct Announcement {
    BlockId id;
    std::size_t image_length = 0;
    std::size_t code_length = 0;
  };

  // Throws Refusal when such a block can't be taken.
  void check_announcement(const Announcement& announced) const;

  // Keeps a downloaded block until it is put into use.
  void stage(const Announcement& announced, Bytes image);

  // Puts a downloaded block into use, in place of one of its type and number. Throws Refusal, and
  // leaves the old block whole, when there is none or when it isn't what was announced.
  void activate(const BlockId& id);

  // Throws Refusal as image() does.
  void remove(const BlockId& id);

  // Removes the user's program and data.
  void clear();

 private:
  struct Staged {
    std::size_t code_length;
    Bytes image;
  };

  bool is_built_in(const BlockId& id) const;

  Memory& memory_;
  std::map<BlockId, Bytes> images_;
  std::map<BlockId, Staged> staged_;
};

}  // namespace plexum::sim
