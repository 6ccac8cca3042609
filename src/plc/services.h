#pragma once

#include <string>

#include "base/value.h"
#include "protocol/request_cycle.h"

namespace plexum {

// The services of the PLC. Their contract stands at the members of PlexumLink of the same names.

Value pg_plcstop(RequestCycle& cycle);
Value pg_plcstart(RequestCycle& cycle);
Value pg_plcErase(RequestCycle& cycle);
Value pg_Ramtorom(RequestCycle& cycle);
Value pg_plccompress(RequestCycle& cycle);
Value pg_DelBlock(RequestCycle& cycle, const std::string& Blocktype, const std::string& Blocknr);

}  // namespace plexum
