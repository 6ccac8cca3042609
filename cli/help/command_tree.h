#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace plexum::cli {

// Looks through the commands, for the completion and the manual page.

// The commands below `command`, in their order.
std::vector<const CLI::App*> commands_below(const CLI::App& command);
// The words that call it: "plexum blocks list".
std::string path_of(const CLI::App& command);
// Its options with a name ("--yes"), and those that are told by their position.
std::vector<const CLI::Option*> named_options(const CLI::App& command);
std::vector<const CLI::Option*> positional_options(const CLI::App& command);

// The script that completes commands and options in bash.
std::string bash_completion(const CLI::App& program);
// The manual page, plexum(1).
std::string manual_page(const CLI::App& program);

}  // namespace plexum::cli
