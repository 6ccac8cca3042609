// Stands in for libFuzzer where there is none: gives each file of a folder to the fuzzer, once.

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz/input.h"

int main(int argc, char** argv) {
  int replayed = 0;
  if (argc != 2) return 2;
  for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
    std::ifstream file(entry.path(), std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    const std::vector<std::uint8_t> input(bytes.begin(), bytes.end());
    std::fprintf(stderr, "%s\n", entry.path().filename().c_str());
    plexum::fuzz::run({input.data(), input.size()});
    ++replayed;
  }
  return replayed > 0 ? 0 : 1;
}
