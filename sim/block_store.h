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

  // Bytes for all blocks together: those in use, those that were downloaded and not put into use,
  // and those that are on their way.
  static constexpr std::size_t kRoom = std::size_t{32} << 20;

  // The room that a block takes on its way, until this is destroyed.
  class Hold {
   public:
    Hold(Hold&& other) noexcept;
    Hold& operator=(Hold&& other) noexcept;
    ~Hold();

   private:
    friend class BlockStore;
    Hold(BlockStore& store, std::size_t size);
    BlockStore* store_;
    std::size_t size_;
  };

  // Takes so many bytes of the room. Throws Refusal with Error::kOutOfMemory when it has less left.
  Hold hold(std::size_t size);

  // What was announced of a block that is downloaded; lengths in bytes.
  struct Announcement {
    BlockId id;
    std::size_t image_length = 0;
    std::size_t code_length = 0;
  };

  // Holds room for such a block, also for its use. Throws Refusal when it can't be taken.
  Hold announce(const Announcement& announced);

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
  std::size_t used() const;

  Memory& memory_;
  std::map<BlockId, Bytes> images_;
  std::map<BlockId, Staged> staged_;
  std::size_t held_ = 0;  // by Holds
};

}  // namespace plexum::sim
