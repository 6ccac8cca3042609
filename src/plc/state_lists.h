#pragma once

#include "base/value.h"
#include "protocol/request_cycle.h"

namespace plexum {

// Queries of system state lists. Their contract stands at the members of PlexumLink of the same
// names.

Value pg_plcRunMode(RequestCycle& cycle);
Value pg_SZL(RequestCycle& cycle);

}  // namespace plexum
