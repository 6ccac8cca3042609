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
  std::vector<std::string> doubts;  // which blocks it lacks, and why; empty: it is complete
};

// Uploads every block of the user's program into `folder`, which must not exist or must be empty.
// The folder has another name until the backup is done, so a folder of the final name is always
// whole. Returns the doubts. `ended` says when to give up. Throws Failure or std::system_error; the
// blocks that came before stay in a folder without a manifest, and the failure's line names it.
std::vector<std::string> make_backup(PlcConnection& plc, const std::filesystem::path& folder,
                                     const std::function<bool()>& ended);

// Reads a backup and checks everything in it: each block's file is there, it has the length, the
// checksum and the block that the manifest says, and there is no other file. Throws Failure for the
// first fault.
Backup read_backup(const std::filesystem::path& folder);

}  // namespace plexum::cli
