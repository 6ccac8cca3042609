#pragma once

#include <cstdint>
#include <string>

namespace plexum {

// The two characters by which S7 telegrams name a block type; empty for an unknown one, which is
// then missing from the telegram.

// By its name: "OB", "DB", "SDB", "FC", "SFC", "FB" or "SFB", compared exactly.
std::string block_type_code(const std::string& name);

// By the type byte of a block's header: 0x08 for "08" to 0x0F for "0F".
std::string block_type_code(std::int32_t type_byte);

}  // namespace plexum
