#pragma once

#include <string>

namespace plexum::cli {

class WatchedTcpClient;

// Tells what telegrams say, one line for each layer, function and item, with errors in words; then
// their bytes as a dump. `bytes` may be anything: several telegrams, a part of one, or none.
std::string annotated(const std::string& bytes);

// Shows each telegram on standard error from now on, below its direction, length and time.
void trace_telegrams(WatchedTcpClient& client);

}  // namespace plexum::cli
