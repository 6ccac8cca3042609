#include <iostream>

#include "cli/commands/commands.h"
#include "cli/help/command_tree.h"

namespace plexum::cli {

// The callbacks run when all commands have been added, so they see all of them.
void add_self_commands(CLI::App& program) {
  CLI::App& completion =
      *program.add_subcommand("completion", "Prints the completion of commands and options");
  completion.footer(
      "Examples:\n"
      "  source <(plexum completion bash)\n"
      "  plexum completion bash > /etc/bash_completion.d/plexum");
  completion.require_subcommand(1);
  CLI::App& bash = *completion.add_subcommand("bash", "For bash");
  bash.callback([&program] { std::cout << bash_completion(program); });

  CLI::App& manual = *program.add_subcommand("manual", "Prints the manual page");
  manual.footer(
      "Examples:\n"
      "  plexum manual | man -l -\n"
      "  plexum manual > /usr/local/share/man/man1/plexum.1");
  manual.callback([&program] { std::cout << manual_page(program); });
}

}  // namespace plexum::cli
