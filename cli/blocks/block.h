#pragma once

#include <cstdint>
#include <string>

#include "cli/text/block_type.h"

namespace plexum::cli {

struct BlockName {
  const BlockType* type = nullptr;
  std::uint16_t number = 0;

  // "DB12".
  [[nodiscard]] std::string text() const;

  bool operator==(const BlockName&) const = default;
};

// What the header of a block image says: the form in which PLCs keep and send their blocks.
struct BlockImage {
  BlockName name;
  std::string code_date;       // when its code was changed: "2026-01-05T08:00:00.000"
  std::string interface_date;  // the same of its interface
  std::size_t code_size = 0;   // of the code section or of a data block's values, in bytes
  std::string bytes;           // all of it

  [[nodiscard]] std::string code() const { return bytes.substr(kHeaderSize, code_size); }

  static constexpr std::size_t kHeaderSize = 36;
};

// Throws Failure, whose line begins with `what`, where `bytes` don't begin with a block's header or
// its lengths aren't those of `bytes`.
BlockImage parse_block_image(const std::string& what, std::string bytes);

}  // namespace plexum::cli
