#include "cli/commands/commands.h"

#include <vector>

namespace plexum::cli {
namespace {

// The commands as the help lists them.
struct Group {
  const char* title;
  std::vector<void (*)(CLI::App&)> commands;
};

const std::vector<Group>& groups() {
  static const std::vector<Group> all{
      {"Data",
       {add_read_command, add_write_command, add_watch_command, add_plot_command,
        add_ping_command}},
      {"The PLC",
       {add_info_command, add_mode_command, add_state_list_command, add_clock_command,
        add_service_commands}},
      {"Blocks", {add_blocks_command}},
      {"Without hardware", {add_simulator_command, add_demo_command}},
      {"For programs", {add_host_command}},
      {"Help", {add_errors_command, add_self_commands}},
  };
  return all;
}

}  // namespace

void add_commands(CLI::App& program) {
  program.require_subcommand(1);
  for (const Group& group : groups()) {
    for (const auto add : group.commands) {
      const std::size_t before = program.get_subcommands({}).size();
      add(program);
      const auto commands = program.get_subcommands([](CLI::App*) { return true; });
      for (std::size_t i = before; i < commands.size(); ++i) commands[i]->group(group.title);
    }
  }
  // Set last: commands take over the footer that the program has when they are added.
  program.footer(
      "Where the PLC is: --ip ADDRESS with --rack and --slot, or the environment variables\n"
      "PLEXUM_IP, PLEXUM_RACK and PLEXUM_SLOT; --sim for a simulated one. Every command has its\n"
      "own --help.\n\n"
      "Examples:\n"
      "  plexum info --sim\n"
      "  plexum read --ip 192.0.2.10 DB10.DBW4 M5.1\n"
      "  plexum ping --ip 192.0.2.10 --count 100\n"
      "  plexum stop --ip 192.0.2.10\n\n"
      "Exit status: 0 done; 1 the PLC, the connection or the system failed; 2 usage; 3 refused by\n"
      "the user, or nobody there to be asked.");
}

}  // namespace plexum::cli
