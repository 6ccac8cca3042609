#pragma once

#include <string>

#include "base/value.h"
#include "protocol/request_cycle.h"

namespace plexum {

// Uploading a block. The contract stands at the member of PlexumLink of the same name.
Value pg_ReadBlock(RequestCycle& cycle, const std::string& Blocktype, const std::string& Blocknr);

}  // namespace plexum
