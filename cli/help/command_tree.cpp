#include "cli/help/command_tree.h"

namespace plexum::cli {

std::vector<const CLI::App*> commands_below(const CLI::App& command) {
  return command.get_subcommands([](const CLI::App* one) { return !one->get_group().empty(); });
}

std::string path_of(const CLI::App& command) {
  const CLI::App* const parent = command.get_parent();
  return (parent == nullptr ? "" : path_of(*parent) + " ") + command.get_name();
}

std::vector<const CLI::Option*> named_options(const CLI::App& command) {
  return command.get_options([](const CLI::Option* option) { return option->nonpositional(); });
}

std::vector<const CLI::Option*> positional_options(const CLI::App& command) {
  return command.get_options([](const CLI::Option* option) { return option->get_positional(); });
}

}  // namespace plexum::cli
