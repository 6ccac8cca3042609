#pragma once

#include <optional>
#include <string>

namespace plexum::cli {

// Runs a program that PATH leads to, without arguments and with `input` on its standard input; what
// it says goes to standard error. No shell comes in between. Its exit code (-1: it was ended), or
// nothing when there is no such program. Throws std::system_error for what else fails.
std::optional<int> run_with_input(const std::string& program, const std::string& input);

}  // namespace plexum::cli
