#include "sim/block_store.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "sim/message.h"

namespace plexum::sim {
namespace {

enum Language : std::uint8_t { kStatementList = 1, kLadder = 2, kDataBlock = 5, kSystemData = 7 };

constexpr std::uint8_t kUserFlags = 0x22;
constexpr std::uint8_t kBuiltInFlags = 0x42;

// The system functions of a CPU of the middle range.
constexpr std::array<std::uint16_t, 71> kSystemFunctions{
    0,  1,  2,  3,  4,  5,  6,  11, 12, 13,  14,  15,  17,  18,  19,  20,  21, 22,
    23, 24, 28, 29, 30, 31, 32, 33, 34, 36,  37,  38,  39,  40,  41,  42,  43, 44,
    46, 47, 49, 50, 51, 52, 55, 56, 57, 58,  59,  64,  65,  66,  67,  68,  69, 70,
    71, 72, 73, 74, 81, 82, 83, 84, 99, 101, 102, 103, 105, 106, 107, 108, 126};
constexpr std::array<std::uint16_t, 14> kSystemFunctionBlocks{0,  1,  2,  3,  4,  5,  32,
                                                              52, 53, 54, 73, 74, 75, 81};

std::span<const std::uint16_t> built_in(BlockType type) {
  if (type == BlockType::kSystemFunction) return kSystemFunctions;
  if (type == BlockType::kSystemFunctionBlock) return kSystemFunctionBlocks;
  return {};
}

// Statements in the CPU's code: UC FC n (75 n), NOP 0 (00 00), BE (65 00).
constexpr std::array<std::uint8_t, 6> kCallsBoth{0x75, 0x01, 0x75, 0x02, 0x65, 0x00};
constexpr std::array<std::uint8_t, 4> kDoesNothing{0x00, 0x00, 0x65, 0x00};

struct ShippedBlock {
  BlockId id;
  Language language;
  std::string_view name;
  ByteView code;
};

const ShippedBlock kProgram[] = {
    {{BlockType::kOrganisation, 1}, kLadder, "MAIN", kCallsBoth},
    {{BlockType::kFunction, 1}, kStatementList, "SCALE", kDoesNothing},
    {{BlockType::kFunction, 2}, kStatementList, "LIMIT", kDoesNothing},
    {{BlockType::kFunctionBlock, 1}, kStatementList, "MOTOR", kDoesNothing},
};

// What the program's own records of a block take, about.
constexpr std::size_t kOverhead = 256;

// The room that a block takes once it is in use: a data block's values are kept beside its image.
std::size_t room_for(BlockType type, std::size_t image_length, std::size_t code_length) {
  const std::size_t values = type == BlockType::kData ? kOverhead + code_length : 0;
  return kOverhead + image_length + values;
}

constexpr std::uint16_t kSystemDataBlocks[] = {0, 1, 2, 4, 7};
constexpr std::size_t kSystemDataSize = 144;

}  // namespace

BlockStore::BlockStore(Memory& memory) : memory_(memory) {
  for (const ShippedBlock& block : kProgram) {
    images_[block.id] = make_block_image(block.id, block.language, block.name, block.code);
  }
  for (const std::uint16_t number : kSystemDataBlocks) {
    const BlockId id{BlockType::kSystemData, number};
    images_[id] = make_block_image(id, kSystemData, "SDB", Bytes(kSystemDataSize));
  }
}

bool BlockStore::is_built_in(const BlockId& id) const {
  const std::span<const std::uint16_t> numbers = built_in(id.type);
  return std::find(numbers.begin(), numbers.end(), id.number) != numbers.end();
}

std::vector<BlockStore::Entry> BlockStore::list(BlockType type) const {
  std::vector<Entry> entries;
  for (const std::uint16_t number : built_in(type)) {
    entries.push_back({number, kBuiltInFlags, kStatementList});
  }
  if (type == BlockType::kData) {
    for (const auto& [number, values] : memory_.data_blocks()) {
      entries.push_back({number, kUserFlags, kDataBlock});
    }
    return entries;
  }
  for (const auto& [id, image] : images_) {
    if (id.type != type) continue;
    entries.push_back({id.number, kUserFlags, parse_block_header(image).language});
  }
  return entries;
}

Bytes BlockStore::image(const BlockId& id) const {
  if (is_built_in(id)) throw Refusal{Error::kAccessRefused};
  const auto stored = images_.find(id);
  if (id.type != BlockType::kData) {
    if (stored == images_.end()) throw Refusal{Error::kNoSuchBlock};
    return stored->second;
  }
  const auto values = memory_.data_blocks().find(id.number);
  if (values == memory_.data_blocks().end()) throw Refusal{Error::kNoSuchBlock};
  const bool same_size = stored != images_.end() &&
                         parse_block_header(stored->second).code_length == values->second.size();
  if (!same_size) {
    return make_block_image(id, kDataBlock, "DB" + std::to_string(id.number), values->second);
  }
  Bytes image = stored->second;
  std::copy(values->second.begin(), values->second.end(), image.begin() + BlockHeader::kSize);
  return image;
}

BlockStore::Hold::Hold(BlockStore& store, std::size_t size) : store_(&store), size_(size) {
  store.held_ += size;
}
BlockStore::Hold::Hold(Hold&& other) noexcept
    : store_(other.store_), size_(std::exchange(other.size_, 0)) {}
BlockStore::Hold& BlockStore::Hold::operator=(Hold&& other) noexcept {
  std::swap(store_, other.store_);
  std::swap(size_, other.size_);
  return *this;
}
BlockStore::Hold::~Hold() { store_->held_ -= size_; }

std::size_t BlockStore::used() const {
  std::size_t bytes = held_;
  for (const auto& [number, values] : memory_.data_blocks()) bytes += kOverhead + values.size();
  for (const auto& [id, image] : images_) bytes += kOverhead + image.size();
  for (const auto& [id, staged] : staged_) {
    bytes += room_for(id.type, staged.image.size(), staged.code_length);
  }
  return bytes;
}

BlockStore::Hold BlockStore::hold(std::size_t size) {
  const std::size_t used_now = used();
  if (used_now > kRoom || size > kRoom - used_now) throw Refusal{Error::kOutOfMemory};
  return {*this, size};
}

BlockStore::Hold BlockStore::announce(const Announcement& announced) {
  if (!built_in(announced.id.type).empty()) throw Refusal{Error::kAccessRefused};
  const std::size_t sections = BlockHeader::kSize + announced.code_length;
  if (announced.image_length < sections) throw Refusal{Error::kBlockLengths};
  return hold(room_for(announced.id.type, announced.image_length, announced.code_length));
}

void BlockStore::stage(const Announcement& announced, Bytes image) {
  staged_[announced.id] = {announced.code_length, std::move(image)};
}

void BlockStore::activate(const BlockId& id) {
  const auto node = staged_.extract(id);
  if (node.empty()) throw Refusal{Error::kNoSuchBlock};
  const auto& [code_length, image] = node.mapped();
  const BlockHeader header = parse_block_header(image);
  if (header.id.type != id.type) throw Refusal{Error::kBlockStructure};
  if (header.id.number != id.number) throw Refusal{Error::kBlockNumber};
  if (header.code_length != code_length) throw Refusal{Error::kBlockLengths};
  if (id.type == BlockType::kData) {
    const auto values = image.begin() + BlockHeader::kSize;
    memory_.data_blocks()[id.number].assign(values,
                                            values + static_cast<std::ptrdiff_t>(code_length));
  }
  images_[id] = image;
}

void BlockStore::remove(const BlockId& id) {
  if (is_built_in(id)) throw Refusal{Error::kAccessRefused};
  const bool had_values = id.type == BlockType::kData && memory_.data_blocks().erase(id.number) > 0;
  const bool had_image = images_.erase(id) > 0;
  if (!had_values && !had_image) throw Refusal{Error::kNoSuchBlock};
}

void BlockStore::clear() {
  memory_.data_blocks().clear();
  staged_.clear();
  std::erase_if(images_,
                [](const auto& block) { return block.first.type != BlockType::kSystemData; });
}

}  // namespace plexum::sim
