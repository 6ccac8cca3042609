#pragma once

#include <filesystem>
#include <string>

namespace plexum::cli {

// The path of a file that is named in UTF-8, as arguments are. A file opened by a plain string
// would be looked for in the system's code page on Windows.
inline std::filesystem::path path_from_utf8(const std::string& name) {
  return std::filesystem::path(std::u8string(name.begin(), name.end()));
}

}  // namespace plexum::cli
