#pragma once

#include <string>

namespace plexum::cli {

class WatchedTcpClient;

// What telegrams say, a line a thing: TPKT, COTP and S7 fields by name, functions with their items,
// errors in words; then their bytes as a dump. `bytes` may be anything: several telegrams, part of
// one, or none.
std::string annotated(const std::string& bytes);

// From now on each telegram is shown on standard error, under its direction, length and time.
void trace_telegrams(WatchedTcpClient& client);

}  // namespace plexum::cli
