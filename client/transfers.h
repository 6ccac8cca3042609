#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "client/blocks.h"
#include "client/connection.h"

// Blocks out of the PLC and into it.
namespace plexum::client {

std::string upload(Connection& connection, const BlockId& block);
void download(Connection& connection, const BlockId& block, std::string_view image,
              std::size_t code_size);

}  // namespace plexum::client
