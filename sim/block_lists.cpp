#include "sim/block_lists.h"

#include "sim/message.h"

namespace plexum::sim {

Bytes count_blocks(const BlockStore& blocks) {
  Writer writer;
  for (const BlockType type : kBlockTypes) {
    writer.text(digits_of(type)).u16(blocks.list(type).size());
  }
  return writer.take();
}

Bytes list_blocks(const BlockStore& blocks, Reader request) {
  const BlockType type = parse_block_type(request.text(2));
  Writer writer;
  for (const BlockStore::Entry& entry : blocks.list(type)) {
    writer.u16(entry.number).u8(entry.flags).u8(entry.language);
  }
  if (writer.size() == 0) throw Refusal{Error::kNoBlockOfType};
  return writer.take();
}

Bytes block_information(const BlockStore& blocks, Reader request) {
  constexpr std::uint8_t kFlags = 0x22;
  const std::string type = request.text(2);
  const BlockId id = BlockId::parse(type, request.text(5));
  const Bytes summary = block_summary(blocks.image(id));
  return Writer().u8(1).u8(0).u16(2 + summary.size()).u8(kFlags).u8(0).bytes(summary).take();
}

}  // namespace plexum::sim
