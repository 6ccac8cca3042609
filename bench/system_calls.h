#pragma once

#include <functional>
#include <map>
#include <string>

namespace plexum::bench {

// Runs `prepare` and then `work` in a process of its own and counts the system calls that `work`
// makes, by name. Throws std::runtime_error when the process fails or may not be traced.
std::map<std::string, long> count_system_calls(const std::function<void()>& prepare,
                                               const std::function<void()>& work);

}  // namespace plexum::bench
