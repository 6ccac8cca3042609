#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace plexum::cli {

// A type of blocks: its name as the control takes it, and the number that an image's header has.
struct BlockType {
  const char* name;
  std::uint8_t code;
  bool of_system;  // part of the CPU: can be listed, not uploaded, downloaded or deleted
};

// Every type: what calls or reads others before what is called or read, the CPU's own at the end.
std::span<const BlockType> block_types();

// The type of that name, in either case. Throws a usage error.
const BlockType& block_type(const std::string& name);

struct BlockName {
  const BlockType* type = nullptr;
  std::uint16_t number = 0;

  // "DB12".
  [[nodiscard]] std::string text() const;
  // Five digits, as the control takes the number.
  [[nodiscard]] std::string digits() const;

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

// Throws Failure, beginning with `what`, where `bytes` don't begin with a block's header, or where
// its lengths aren't those of `bytes`.
BlockImage parse_block_image(const std::string& what, std::string bytes);

}  // namespace plexum::cli
