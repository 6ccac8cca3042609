#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "client/blocks.h"
#include "client/connection.h"
#include "client/state_list.h"

// What a PLC tells in lists, which may come in several parts.
namespace plexum::client {

// The content of all parts of an answer. More than `most` bytes, or parts without any, are a
// senseless answer; none at all is refused by its return code.
std::string ask_for_all(Connection& connection, const wire::Userdata& request, std::size_t most);

StateList read_state_list(Connection& connection, std::uint16_t id, std::uint16_t index);
Protection read_protection(Connection& connection);

std::vector<BlockCount> count_blocks(Connection& connection);
std::vector<BlockEntry> list_blocks(Connection& connection, BlockType type);
std::string block_information(Connection& connection, const BlockId& block);

}  // namespace plexum::client
