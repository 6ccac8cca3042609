#pragma once

#include <string>

#include "base/value.h"
#include "protocol/request_cycle.h"

namespace plexum {

// The list of the PLC's blocks of one type. The contract stands at the member of PlexumLink of the
// same name.
Value pg_ListBlock(RequestCycle& cycle, const std::string& Blocktype);

}  // namespace plexum
