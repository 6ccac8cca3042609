#pragma once

#include <string>

#include "base/value.h"
#include "protocol/request_cycle.h"

namespace plexum {

// The jobs that read memory. Their contract stands at the members of PlexumLink of the same names.

Value ag_Read(RequestCycle& cycle, const std::string& DBNr, const std::string& anzby,
              const std::string& startad, const std::string& Datenart, const std::string& Spsarts);
Value ag_ReadB(RequestCycle& cycle, const std::string& DBNr, const std::string& anzby,
               const std::string& startad_w, const std::string& Datenart,
               const std::string& Spsarts);

}  // namespace plexum
