#include "cli/blocks/block_jobs.h"

#include <algorithm>

namespace plexum::cli {
namespace {

// In bytes of the PDU: what an answer with a part of a list needs beside its entries (PLCs leave
// room for one entry more), and an entry.
constexpr unsigned kListOverhead = 30;
constexpr unsigned kEntrySize = 4;
// The sizes that PLCs grant; the control doesn't tell which one it was.
constexpr unsigned kUsualPdus[] = {240, 480, 960};

constexpr int kAttempts = 3;

void refuse_system_block(const std::string& what, const BlockName& name) {
  if (!name.type->of_system) return;
  throw usage_error(what + ": " + name.type->name +
                    "s are part of the CPU; they can only be listed");
}

bool is_there(PlcConnection& plc, const BlockName& name) {
  const BlockList list = list_blocks(plc, *name.type);
  if (list.has(name.number)) return true;
  if (!list.may_be_cut) return false;
  // It may stand behind the list's first part: see whether it can be uploaded.
  try {
    upload_block(plc, name);
    return true;
  } catch (const Failure& failure) {
    if (!failure.refused_by_plc()) throw;
    return false;
  }
}

}  // namespace

bool BlockList::has(std::uint16_t number) const {
  return std::find(numbers.begin(), numbers.end(), number) != numbers.end();
}

bool may_be_first_part(std::size_t count, unsigned pdu) {
  const auto fills = [](unsigned size) { return (size - kListOverhead) / kEntrySize; };
  return count >= fills(pdu) || std::any_of(std::begin(kUsualPdus), std::end(kUsualPdus),
                                            [&](unsigned usual) { return count == fills(usual); });
}

BlockList list_blocks(PlcConnection& plc, const BlockType& type) {
  const Value result =
      plc.run("listing the blocks of type " + std::string(type.name), JobKind::kQuery,
              [&](PlexumLink& link) { return link.pg_ListBlock(type.name); });
  BlockList list{&type, {}, false};
  if (const auto* array = std::get_if<VariantArray>(&result)) {
    for (const Value& element : array->elements) {
      // An empty list has one element that is no number.
      if (const auto* number = std::get_if<double>(&element)) {
        list.numbers.push_back(static_cast<std::uint16_t>(*number));
      }
    }
  }
  list.may_be_cut = may_be_first_part(list.numbers.size(), plc.pdu());
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
  for (int attempt = 1;; ++attempt) {
    const Value bytes = plc.run(what, JobKind::kTransfer, [&](PlexumLink& link) {
      return link.pg_ReadBlock(name.type->name, name.digits());
    });
    try {
      const auto* image_bytes = std::get_if<std::string>(&bytes);
      BlockImage image = parse_block_image(what, image_bytes == nullptr ? "" : *image_bytes);
      if (image.name == name) return image;
      throw Failure(what + ": the PLC sent " + image.name.text());
    } catch (const Failure&) {
      // The control takes the bytes of a part that have arrived for the whole part. A part that
      // comes in pieces leaves a gap in the image.
      if (attempt == kAttempts) throw;
      plc.disconnect();
    }
  }
}

std::string download_block(PlcConnection& plc, const BlockImage& image) {
  const std::string what = "downloading " + image.name.text();
  refuse_system_block(what, image.name);
  plc.run(what, JobKind::kTransfer,
          [&](PlexumLink& link) { return link.pg_WriteBlock(image.bytes); });
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
  if (!is_there(plc, name)) throw Failure(what + ": the PLC has no such block");
  plc.run(what, JobKind::kService,
          [&](PlexumLink& link) { return link.pg_DelBlock(name.type->name, name.digits()); });
  if (is_there(plc, name)) {
    throw Failure(what + ": the PLC answered, but still has the block; it has refused");
  }
}

}  // namespace plexum::cli
