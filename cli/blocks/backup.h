#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "cli/blocks/block_jobs.h"

namespace plexum::cli {

// A folder with one file a block and manifest.json, which says what each holds and whether the
// backup is complete.
struct Backup {
  std::vector<BlockImage> blocks;   // in the order to download them
  std::vector<std::string> doubts;  // why it may lack blocks; empty: it is complete
};

// Uploads every block of the user's program into `folder`, which must not exist or be empty. It is
// made under another name and gets its own at the end, so whatever has that name is whole. Returns
// the doubts. `ended` says when to give up. Throws Failure or std::system_error; what had come
// until then stays in a folder without a manifest, which the failure names.
std::vector<std::string> make_backup(Session& session, const std::filesystem::path& folder,
                                     const std::function<bool()>& ended);

// Reads a backup, after checking everything in it: each block's file is there, as long as the
// manifest says and with its checksum and its block, and there is no other file. Throws Failure
// with the first fault.
Backup read_backup(const std::filesystem::path& folder);

}  // namespace plexum::cli
