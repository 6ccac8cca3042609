#include "cli/blocks/block_jobs.h"

#include <algorithm>

namespace plexum::cli {
namespace {

// What an answer with a part of a list needs beside the entries, and an entry, in bytes of the PDU;
// PLCs leave room for one entry more.
constexpr unsigned kListOverhead = 30;
constexpr unsigned kEntrySize = 4;
// PLCs grant one of these; the control doesn't tell which.
constexpr unsigned kUsualPdus[] = {240, 480, 960};

constexpr int kAttempts = 3;

// Values of err that don't come from the PLC.
bool is_refusal(std::int32_t err) { return err > 4; }

void refuse_system_block(const std::string& what, const BlockName& name) {
  if (!name.type->of_system) return;
  throw usage_error(what + ": " + name.type->name +
                    "s are part of the CPU; they can only be listed");
}

bool is_there(Session& session, const BlockName& name) {
  const BlockList list = list_blocks(session, *name.type);
  if (list.has(name.number)) return true;
  if (!list.may_be_cut) return false;
  // Behind the list's first part: see whether it can be had.
  bool refused = false;
  try {
    upload_block(session, name, &refused);
    return true;
  } catch (const Failure&) {
    if (!refused) throw;
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

BlockList list_blocks(Session& session, const BlockType& type) {
  const Value result =
      session.run("listing the blocks of type " + std::string(type.name), Step::kQuery,
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
  list.may_be_cut = may_be_first_part(list.numbers.size(), session.pdu());
  return list;
}

std::vector<BlockList> list_all_blocks(Session& session) {
  std::vector<BlockList> lists;
  for (const BlockType& type : block_types()) lists.push_back(list_blocks(session, type));
  return lists;
}

BlockImage upload_block(Session& session, const BlockName& name, bool* refused) {
  const std::string what = "uploading " + name.text();
  refuse_system_block(what, name);
  for (int attempt = 1;; ++attempt) {
    Value bytes;
    try {
      bytes = session.run(what, Step::kTransfer, [&](PlexumLink& link) {
        return link.pg_ReadBlock(name.type->name, name.digits());
      });
    } catch (const Failure&) {
      if (refused != nullptr) *refused = is_refusal(session.link().err());
      throw;
    }
    try {
      const auto* image_bytes = std::get_if<std::string>(&bytes);
      BlockImage image = parse_block_image(what, image_bytes == nullptr ? "" : *image_bytes);
      if (image.name == name) return image;
      throw Failure(what + ": the PLC sent " + image.name.text());
    } catch (const Failure&) {
      // The control takes what has arrived of a part for all of it, so one that came in pieces has
      // a gap.
      if (attempt == kAttempts) throw;
      session.disconnect();
    }
  }
}

std::string download_block(Session& session, const BlockImage& image) {
  const std::string what = "downloading " + image.name.text();
  refuse_system_block(what, image.name);
  session.run(what, Step::kTransfer,
              [&](PlexumLink& link) { return link.pg_WriteBlock(image.bytes); });
  const BlockImage there = upload_block(session, image.name);
  if (there.bytes == image.bytes) return "verified by uploading it again";
  const bool is_data = image.name.type == &block_type("DB");
  if (there.code_size != image.code_size || (!is_data && there.code() != image.code())) {
    throw Failure(what + ": the PLC now holds another " + image.name.text() +
                  " than was downloaded");
  }
  return is_data ? "it is there; its values or dates differ, as those of a program at work do"
                 : "verified by uploading it again: its code; dates or properties differ";
}

void delete_block(Session& session, const BlockName& name) {
  const std::string what = "deleting " + name.text();
  refuse_system_block(what, name);
  if (!is_there(session, name)) throw Failure(what + ": the PLC has no such block");
  session.run(what, Step::kService,
              [&](PlexumLink& link) { return link.pg_DelBlock(name.type->name, name.digits()); });
  if (is_there(session, name)) {
    throw Failure(what + ": the PLC answered, but still has the block; it has refused");
  }
}

}  // namespace plexum::cli
