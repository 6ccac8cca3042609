#include "cli/text/block_type.h"

#include <algorithm>
#include <iterator>

#include "cli/text/failure.h"

namespace plexum::cli {
namespace {

constexpr BlockType kTypes[] = {
    {"OB", 0x08, false},  {"FB", 0x0E, false}, {"FC", 0x0C, false}, {"DB", 0x0A, false},
    {"SDB", 0x0B, false}, {"SFB", 0x0F, true}, {"SFC", 0x0D, true},
};

}  // namespace

std::span<const BlockType> block_types() { return kTypes; }

const BlockType& block_type(const std::string& name) {
  std::string upper = name;
  std::transform(upper.begin(), upper.end(), upper.begin(), [](char letter) {
    return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
  });
  const auto* const found = std::find_if(std::begin(kTypes), std::end(kTypes),
                                         [&](const BlockType& type) { return upper == type.name; });
  if (found == std::end(kTypes)) {
    throw usage_error("\"" + name + "\" is no block type; there are OB, FB, FC, DB, SDB, SFC, SFB");
  }
  return *found;
}

const BlockType* find_block_type(std::uint32_t code) {
  const auto* const found = std::find_if(std::begin(kTypes), std::end(kTypes),
                                         [&](const BlockType& type) { return type.code == code; });
  return found == std::end(kTypes) ? nullptr : found;
}

}  // namespace plexum::cli
