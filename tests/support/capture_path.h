#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

namespace plexum::test {

// The file for a capture of that name where the test run collects captures: in the folder that the
// environment variable PLEXUM_TEST_CAPTURES names. Empty, which means no capture, without it.
inline std::string capture_path(const std::string& name) {
  const char* const folder = std::getenv("PLEXUM_TEST_CAPTURES");
  if (folder == nullptr || *folder == '\0') return {};
  std::filesystem::create_directories(folder);
  return std::string(folder) + "/" + name + ".pcap";
}

}  // namespace plexum::test
