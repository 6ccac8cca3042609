#pragma once

#include <string>

#include "base/value.h"
#include "protocol/request_cycle.h"

namespace plexum {

// The PLC's clock. The contract stands at the members of PlexumLink of the same names.
Value pg_ReadClock(RequestCycle& cycle);
Value pg_SetClock(RequestCycle& cycle, const std::string& strYear, const std::string& strMonth,
                  const std::string& strDay, const std::string& strHour,
                  const std::string& strMinute, const std::string& strSecond,
                  const std::string& strMsec);

}  // namespace plexum
