#include "cli/system/file.h"

#include <cerrno>
#include <fstream>
#include <iterator>
#include <system_error>

#include "cli/system/path.h"

namespace plexum::cli {
namespace {

[[noreturn]] void fail(const std::filesystem::path& path) {
  throw std::system_error(errno == 0 ? EIO : errno, std::generic_category(), utf8_from_path(path));
}

}  // namespace

std::string read_file(const std::filesystem::path& path) {
  errno = 0;
  std::ifstream file(path, std::ios::binary);
  if (!file) fail(path);
  // A folder can be opened like a file; only the first read fails.
  if (file.peek() == std::ifstream::traits_type::eof() && !file.eof()) fail(path);
  if (std::filesystem::is_directory(path)) {
    errno = EISDIR;
    fail(path);
  }
  return {std::istreambuf_iterator<char>(file), {}};
}

void write_file(const std::filesystem::path& path, const std::string& bytes) {
  errno = 0;
  std::ofstream file(path, std::ios::binary);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  file.close();
  if (!file) fail(path);
}

}  // namespace plexum::cli
