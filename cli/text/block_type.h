#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace plexum::cli {

// A type of blocks: its name, and the number that PLCs give it, in a block's header as well as, in
// two hexadecimal digits, in telegrams.
struct BlockType {
  const char* name;
  std::uint8_t code;
  bool of_system;  // part of the CPU: can be listed, not uploaded, downloaded or deleted
};

// Every type. A block calls or reads only blocks of its own type or of types that stand behind it;
// the CPU's own stand at the end.
std::span<const BlockType> block_types();

// The type of that name, in either case. Throws a usage error.
const BlockType& block_type(const std::string& name);
// The type of that number, or null.
const BlockType* find_block_type(std::uint32_t code);

}  // namespace plexum::cli
