#pragma once

#include <filesystem>
#include <string>

namespace plexum::cli {

// Whole files, byte by byte. Both throw std::system_error with the file's name.
std::string read_file(const std::filesystem::path& path);
// Replaces a file that is there.
void write_file(const std::filesystem::path& path, const std::string& bytes);

// A path as the text that it was given by.
std::string text_of(const std::filesystem::path& path);

}  // namespace plexum::cli
