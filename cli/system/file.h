#pragma once

#include <filesystem>
#include <string>

namespace plexum::cli {

// Read and write whole files, byte by byte. Both throw std::system_error with the file's name.
std::string read_file(const std::filesystem::path& path);
// An existing file is replaced.
void write_file(const std::filesystem::path& path, const std::string& bytes);

}  // namespace plexum::cli
