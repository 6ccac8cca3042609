#pragma once

#include <CLI/CLI.hpp>

namespace plexum::cli {

// The commands of `plexum`. Each function adds a subcommand with its options, help and examples;
// the subcommand's callback does the work. It throws Failure, with a line for the user and an exit
// code, or std::system_error for failures of the system (a port in use, a file that can't be
// written).

void add_read_command(CLI::App& program);
void add_write_command(CLI::App& program);
void add_watch_command(CLI::App& program);
void add_plot_command(CLI::App& program);
void add_ping_command(CLI::App& program);
void add_info_command(CLI::App& program);
void add_mode_command(CLI::App& program);
void add_state_list_command(CLI::App& program);
void add_clock_command(CLI::App& program);
void add_service_commands(CLI::App& program);  // start, stop, compress, ram-to-rom, erase
void add_blocks_command(CLI::App& program);
void add_errors_command(CLI::App& program);
void add_self_commands(CLI::App& program);  // completion, manual
void add_demo_command(CLI::App& program);
void add_host_command(CLI::App& program);
void add_simulator_command(CLI::App& program);

// All of them, in the groups of the program's help.
void add_commands(CLI::App& program);

}  // namespace plexum::cli
