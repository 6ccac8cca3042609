#pragma once

#include <string>

#include "cli/plc/plc_address.h"

namespace plexum::cli {

// Reads the bytes of an address, for values_of(). Where a STRING has no room given, its present
// length is read first, and its characters up to there.
std::string read_bytes(Session& session, const PlcAddress& address);

}  // namespace plexum::cli
