#pragma once

#include <filesystem>
#include <string>

namespace plexum::cli {

// The path of a file whose name is in UTF-8, as arguments are. On Windows a plain string would be
// taken for a name in the system's code page.
inline std::filesystem::path path_from_utf8(const std::string& name) {
  return std::filesystem::path(std::u8string(name.begin(), name.end()));
}

// A path's name in UTF-8, for messages.
inline std::string utf8_from_path(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return {text.begin(), text.end()};
}

}  // namespace plexum::cli
