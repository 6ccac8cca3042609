#pragma once

#include <string>

#include "protocol/request_cycle.h"

namespace plexum {

// Connects: TCP, then the ISO transport connection (RFC 1006 over TCP, ISO 8073 class 0) with the
// calling TSAP `TsapE` and the called TSAP `TsapF`, then S7 communication. True when complete; else
// err and s7init tell. Error 13 or 6 for a port or TSAP that is no number or too large a one, 5 for
// a TSAP without a point or beyond a byte.
bool ag_ini(RequestCycle& cycle, const std::string& TCPIPRemote, const std::string& PortRemote,
            const std::string& TsapE, const std::string& TsapF);

// Closes the connection; always true. s7init stays, so the next job fails once with err 4.
bool ag_exit(RequestCycle& cycle);

}  // namespace plexum
