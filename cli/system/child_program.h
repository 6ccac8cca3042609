#pragma once

#include <optional>
#include <string>

namespace plexum::cli {

// Runs a program that is found by PATH, without arguments and with `input` on its standard input;
// its output goes to standard error. Gives its exit code (-1: a signal ended it), or nothing when
// there is no such program. Throws std::system_error for other failures.
//
// No shell is between (as there is with popen): a shell can't tell a missing program from one that
// failed, and that of Windows looks into the current folder before PATH.
std::optional<int> run_with_input(const std::string& program, const std::string& input);

}  // namespace plexum::cli
