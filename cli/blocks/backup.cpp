#include "cli/blocks/backup.h"

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>
#include <set>
#include <system_error>

#include "cli/system/file.h"
#include "cli/system/path.h"
#include "cli/system/terminal.h"
#include "cli/text/iso_time.h"
#include "cli/text/sha256.h"

namespace plexum::cli {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

constexpr const char* kManifest = "manifest.json";
constexpr const char* kFormat = "plexum backup";
constexpr int kVersion = 1;

std::string file_name_of(const BlockName& name) { return name.text() + ".mc7"; }

// A folder beside the final one, with a name that no other backup has.
fs::path make_partial_folder(const fs::path& folder) {
  for (int number = 1;; ++number) {
    fs::path partial = folder;
    partial += ".partial" + std::to_string(number);
    if (fs::create_directory(partial)) return partial;
  }
}

std::vector<BlockList> program_of(std::vector<BlockList> lists) {
  std::erase_if(lists, [](const BlockList& list) { return list.type->of_system; });
  return lists;
}

bool same_blocks(const std::vector<BlockList>& one, const std::vector<BlockList>& other) {
  return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                    [](const BlockList& a, const BlockList& b) { return a.numbers == b.numbers; });
}

Json entry_of(const BlockImage& image) {
  return {{"type", image.name.type->name},         {"number", image.name.number},
          {"file", file_name_of(image.name)},      {"size", image.bytes.size()},
          {"sha256", sha256(image.bytes)},         {"code_date", image.code_date},
          {"interface_date", image.interface_date}};
}

// The CPU's own blocks, which can't be uploaded.
Json left_out(const std::vector<BlockList>& lists) {
  Json types = Json::array();
  for (const BlockList& list : lists) {
    if (!list.type->of_system || list.numbers.empty()) continue;
    types.push_back({{"type", list.type->name},
                     {"listed", list.numbers.size()},
                     {"reason", "part of the CPU; PLCs don't upload them"}});
  }
  return types;
}

Failure broken(const fs::path& folder, const std::string& why) {
  return Failure(utf8_from_path(folder) + " is no whole backup: " + why);
}

// One block, checked against its entry in the manifest.
BlockImage read_block(const fs::path& folder, const Json& entry) {
  const BlockName name{&block_type(entry.at("type").get<std::string>()),
                       entry.at("number").get<std::uint16_t>()};
  const std::string file = file_name_of(name);
  if (entry.at("file").get<std::string>() != file) {
    throw broken(folder, name.text() + " is not in the file " + file);
  }
  std::string bytes;
  try {
    bytes = read_file(folder / path_from_utf8(file));
  } catch (const std::system_error& error) {
    throw broken(folder, error.what());
  }
  if (bytes.size() != entry.at("size").get<std::size_t>() ||
      sha256(bytes) != entry.at("sha256").get<std::string>()) {
    throw broken(folder, file + " has changed since it was made");
  }
  BlockImage image = parse_block_image(file, bytes);
  if (image.name != name) throw broken(folder, file + " holds " + image.name.text());
  return image;
}

void check_for_others(const fs::path& folder, const std::vector<BlockImage>& blocks) {
  std::set<std::string> expected{kManifest};
  for (const BlockImage& block : blocks) {
    if (!expected.insert(file_name_of(block.name)).second) {
      throw broken(folder, "its manifest has " + block.name.text() + " twice");
    }
  }
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    const std::string name = utf8_from_path(entry.path().filename());
    if (!expected.contains(name)) throw broken(folder, "its manifest doesn't know " + name);
  }
}

std::vector<std::string> fill(PlcConnection& plc, const fs::path& folder,
                              const std::function<bool()>& ended) {
  const std::vector<BlockList> all = list_all_blocks(plc);
  const std::vector<BlockList> lists = program_of(all);
  std::size_t count = 0;
  for (const BlockList& list : lists) count += list.numbers.size();
  if (count == 0) {
    throw Failure("backing up " + plc.plc_name() + ": the PLC has no blocks");
  }

  Json blocks = Json::array();
  std::vector<std::string> refusals;
  {
    Progress progress("backup", count);
    for (const BlockList& list : lists) {
      for (const std::uint16_t number : list.numbers) {
        if (ended()) throw Failure("backing up " + plc.plc_name() + ": interrupted");
        const BlockName name{list.type, number};
        progress.step(name.text());
        try {
          const BlockImage image = upload_block(plc, name);
          write_file(folder / path_from_utf8(file_name_of(name)), image.bytes);
          blocks.push_back(entry_of(image));
        } catch (const Failure& failure) {
          if (!failure.refused_by_plc()) throw;
          refusals.emplace_back(failure.what());
        }
      }
    }
  }

  std::vector<std::string> doubts = std::move(refusals);
  if (!same_blocks(lists, program_of(list_all_blocks(plc)))) {
    doubts.emplace_back("the PLC's blocks have changed in the meantime");
  }
  const Json manifest{
      {"format", kFormat},          {"version", kVersion},
      {"plc", plc.plc_name()},      {"made", iso_text_utc(std::chrono::system_clock::now())},
      {"complete", doubts.empty()}, {"doubts", doubts},
      {"left_out", left_out(all)},  {"blocks", blocks}};
  write_file(folder / kManifest, manifest.dump(2) + "\n");
  return doubts;
}

}  // namespace

std::vector<std::string> make_backup(PlcConnection& plc, const fs::path& folder,
                                     const std::function<bool()>& ended) {
  if (fs::exists(folder) && !(fs::is_directory(folder) && fs::is_empty(folder))) {
    throw usage_error(utf8_from_path(folder) +
                      " exists, and a backup replaces nothing; name another");
  }
  plc.connect();
  const fs::path partial = make_partial_folder(folder);
  std::vector<std::string> doubts;
  try {
    doubts = fill(plc, partial, ended);
  } catch (const Failure& failure) {
    if (fs::is_empty(partial)) {
      fs::remove(partial);
      throw;
    }
    throw Failure(
        std::string(failure.what()) + "; what had come until then is in " + utf8_from_path(partial),
        failure.code());
  }
  fs::remove(folder);  // an empty one
  fs::rename(partial, folder);
  return doubts;
}

Backup read_backup(const fs::path& folder) {
  Backup backup;
  try {
    const Json manifest = Json::parse(read_file(folder / kManifest));
    if (manifest.at("format") != kFormat || manifest.at("version") != kVersion) {
      throw broken(folder, "its manifest is of another program, or of a later version");
    }
    for (const Json& entry : manifest.at("blocks")) {
      backup.blocks.push_back(read_block(folder, entry));
    }
    backup.doubts = manifest.at("doubts").get<std::vector<std::string>>();
    if (!manifest.at("complete").get<bool>() && backup.doubts.empty()) {
      backup.doubts.emplace_back("its manifest says so");
    }
  } catch (const std::system_error& error) {
    throw broken(folder, error.what());
  } catch (const Json::exception&) {
    throw broken(folder, "its manifest is damaged");
  }
  check_for_others(folder, backup.blocks);
  // A block is downloaded before those that call or read it.
  const auto rank = [](const BlockImage& image) { return image.name.type - block_types().data(); };
  std::stable_sort(
      backup.blocks.begin(), backup.blocks.end(),
      [&](const BlockImage& one, const BlockImage& other) { return rank(one) > rank(other); });
  return backup;
}

}  // namespace plexum::cli
