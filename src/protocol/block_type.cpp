#include "protocol/block_type.h"

namespace plexum {
namespace {

struct BlockType {
  const char* name;
  std::int32_t byte;
  const char* code;
};

constexpr BlockType kBlockTypes[] = {
    {"OB", 0x08, "08"},  {"DB", 0x0A, "0A"}, {"SDB", 0x0B, "0B"}, {"FC", 0x0C, "0C"},
    {"SFC", 0x0D, "0D"}, {"FB", 0x0E, "0E"}, {"SFB", 0x0F, "0F"},
};

}  // namespace

std::string block_type_code(const std::string& name) {
  for (const BlockType& type : kBlockTypes) {
    if (name == type.name) return type.code;
  }
  return {};
}

std::string block_type_code(std::int32_t type_byte) {
  for (const BlockType& type : kBlockTypes) {
    if (type_byte == type.byte) return type.code;
  }
  return {};
}

}  // namespace plexum
