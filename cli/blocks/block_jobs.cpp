#include "cli/blocks/block_jobs.h"

#include <algorithm>

namespace plexum::cli {
namespace {

client::BlockType wire_type(const BlockType& type) {
  return static_cast<client::BlockType>(type.code);
}

client::BlockId wire_id(const BlockName& name) { return {wire_type(*name.type), name.number}; }

void refuse_system_block(const std::string& what, const BlockName& name) {
  if (!name.type->of_system) return;
  throw usage_error(what + ": " + name.type->name +
                    "s are part of the CPU; they can only be listed");
}

}  // namespace

std::vector<std::pair<const BlockType*, std::size_t>> count_blocks(PlcConnection& plc) {
  const std::vector<client::BlockCount> told =
      plc.run("counting the blocks", [](S7Client& client) { return client.block_counts(); });
  std::vector<std::pair<const BlockType*, std::size_t>> counts;
  for (const BlockType& type : block_types()) {
    const auto found = std::find_if(told.begin(), told.end(), [&](const client::BlockCount& one) {
      return one.type == wire_type(type);
    });
    counts.emplace_back(&type, found == told.end() ? 0 : found->count);
  }
  return counts;
}

BlockList list_blocks(PlcConnection& plc, const BlockType& type) {
  const std::vector<client::BlockEntry> entries =
      plc.run("listing the blocks of type " + std::string(type.name),
              [&](S7Client& client) { return client.block_list(wire_type(type)); });
  BlockList list{&type, {}};
  for (const client::BlockEntry& entry : entries) list.numbers.push_back(entry.number);
  return list;
}

std::vector<BlockList> list_all_blocks(PlcConnection& plc) {
  std::vector<BlockList> lists;
  for (const BlockType& type : block_types()) lists.push_back(list_blocks(plc, type));
  return lists;
}

BlockImage upload_block(PlcConnection& plc, const BlockName& name) {
  const std::string what = "uploading " + name.text();
  refuse_system_block(what, name);
  BlockImage image = parse_block_image(
      what, plc.run(what, [&](S7Client& client) { return client.upload(wire_id(name)); }));
  if (image.name != name) throw Failure(what + ": the PLC sent " + image.name.text());
  return image;
}

std::string download_block(PlcConnection& plc, const BlockImage& image) {
  const std::string what = "downloading " + image.name.text();
  refuse_system_block(what, image.name);
  plc.run(what, [&](S7Client& client) {
    client.download(wire_id(image.name), image.bytes, image.code_size);
    client.insert(wire_id(image.name));
  });
  const BlockImage there = upload_block(plc, image.name);
  if (there.bytes == image.bytes) return "verified by uploading it again";
  const bool is_data = image.name.type == &block_type("DB");
  if (there.code_size != image.code_size || (!is_data && there.code() != image.code())) {
    throw Failure(what + ": the PLC now holds another " + image.name.text() +
                  " than was downloaded");
  }
  return is_data ? "it is there; its values or dates differ, as those of a program at work do"
                 : "verified by uploading it again: its code; dates or properties differ";
}

void delete_block(PlcConnection& plc, const BlockName& name) {
  const std::string what = "deleting " + name.text();
  refuse_system_block(what, name);
  plc.run(what, [&](S7Client& client) { client.remove(wire_id(name)); });
}

}  // namespace plexum::cli
