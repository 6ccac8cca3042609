#pragma once

#include <string>

#include "base/value.h"
#include "protocol/request_cycle.h"

namespace plexum {

// Downloading a block. The contract stands at the member of PlexumLink of the same name.
Value pg_WriteBlock(RequestCycle& cycle, const std::string& MCS7Code);

}  // namespace plexum
