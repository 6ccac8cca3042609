#pragma once

#include <string>

#include "base/value.h"
#include "protocol/request_cycle.h"

namespace plexum {

// The jobs that write memory. Their contract stands at the members of PlexumLink of the same names.

bool ag_WriteX(RequestCycle& cycle, const std::string& db, std::string& startad,
               const std::string& wert, const std::string& Spsarts, const std::string& bitadd);
Value ag_WriteB(RequestCycle& cycle, const std::string& db, const std::string& startad_w,
                const std::string& wert, const std::string& Spsarts);
Value ag_WriteMB(RequestCycle& cycle, const std::string& db, std::string& startad,
                 const std::string& wertBytesstring, const std::string& Spsarts);
bool ag_WriteF(RequestCycle& cycle, const std::string& DBNr, std::string& startad,
               std::string& wert, const std::string& Spsarts);
bool ag_WriteD(RequestCycle& cycle, const std::string& DBNr, std::string& startad,
               std::string& wert, const std::string& Spsarts);
bool ag_WriteW(RequestCycle& cycle, const std::string& DBNr, const std::string& startad,
               const std::string& wert, const std::string& Spsarts);

}  // namespace plexum
