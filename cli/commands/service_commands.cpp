#include <chrono>
#include <iostream>
#include <memory>
#include <utility>

#include "cli/blocks/block_jobs.h"
#include "cli/commands/commands.h"
#include "cli/plc/plc_state.h"
#include "cli/system/interrupt.h"
#include "cli/system/terminal.h"

namespace plexum::cli {
namespace {

struct ServiceOptions {
  ConnectionOptions connection;
  bool yes = false;
  unsigned wait = 10;  // seconds for the CPU to change its mode
};

using Service = Value (PlexumLink::*)();

// The control reports a refused service as done, so callers look for its effect.
void request(PlcConnection& plc, const std::string& what, Service service) {
  plc.run(what, JobKind::kService, [&](PlexumLink& link) { return (link.*service)(); });
}

// Starts or stops the CPU.
void change_mode(const ServiceOptions& options, RunMode wanted, const std::string& verb,
                 Service service) {
  PlcConnection plc(options.connection);
  plc.connect();
  if (read_mode(plc) == wanted) {
    std::cout << "nothing to do: the CPU is in " << name_of(wanted) << " already\n";
    return;
  }
  const std::string what = verb + " the CPU of " + plc.plc_name();
  ask_before(what, options.yes);
  request(plc, what, service);

  constexpr std::chrono::milliseconds kPause{100};
  const InterruptScope interrupt;
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(options.wait);
  RunMode mode = read_mode(plc);
  while (mode != wanted && std::chrono::steady_clock::now() < end && !interrupt.interrupted()) {
    plc.idle(kPause);
    mode = read_mode(plc);
  }
  if (mode != wanted) {
    throw Failure(what + ": the PLC answered, but its run mode is " + name_of(mode) +
                  "; it has refused, or needs more time than --wait gives it");
  }
  std::cout << (wanted == RunMode::kRun ? "started" : "stopped") << " (verified by the run mode)\n";
}

void start(const ServiceOptions& options) {
  change_mode(options, RunMode::kRun, "start", &PlexumLink::pg_plcstart);
}

void stop(const ServiceOptions& options) {
  change_mode(options, RunMode::kStop, "stop", &PlexumLink::pg_plcstop);
}

// Counts the blocks of the user's program. System data blocks don't count: a CPU keeps some of them
// when it is erased.
std::size_t count_of_program(PlcConnection& plc) {
  std::size_t count = 0;
  for (const char* const type : {"OB", "FB", "FC", "DB"}) {
    count += list_blocks(plc, block_type(type)).numbers.size();
  }
  return count;
}

void erase(const ServiceOptions& options) {
  PlcConnection plc(options.connection);
  plc.connect();
  const std::size_t before = count_of_program(plc);
  const std::string what = "erase the memory of " + plc.plc_name();
  ask_before(what + ", with " + std::to_string(before) + " blocks", options.yes);
  request(plc, what, &PlexumLink::pg_plcErase);
  const std::size_t after = count_of_program(plc);
  if (after > 0) {
    throw Failure(what + ": the PLC answered, but still lists " + std::to_string(after) +
                  " blocks; it has refused");
  }
  std::cout << (before > 0 ? "erased (verified by the block lists, which are empty now)\n"
                           : "the PLC answered; there was no block before by which to see that it "
                             "erased\n");
}

// Requests a service whose effect can't be read from the PLC.
void request_blindly(const ServiceOptions& options, const std::string& verb, Service service) {
  PlcConnection plc(options.connection);
  plc.connect();
  const std::string what = verb + " of " + plc.plc_name();
  ask_before(what, options.yes);
  request(plc, what, service);
  std::cout << "the PLC answered; whether it did it or refused can't be seen\n";
}

void compress(const ServiceOptions& options) {
  request_blindly(options, "compress the memory", &PlexumLink::pg_plccompress);
}

void ram_to_rom(const ServiceOptions& options) {
  request_blindly(options, "copy RAM to ROM", &PlexumLink::pg_Ramtorom);
}

struct Command {
  const char* name;
  const char* description;
  const char* note;  // may be empty
  void (*act)(const ServiceOptions&);
};

constexpr Command kCommands[] = {
    {"start", "Starts the CPU", "", start},
    {"stop", "Stops the CPU", "", stop},
    {"compress", "Compresses the PLC's memory",
     "Whether the PLC did it or refused can't be seen.\n\n", compress},
    {"ram-to-rom", "Copies the work memory to the load memory",
     "The present values of the data blocks become those that the PLC starts with. Whether\n"
     "it did it or refused can't be seen.\n\n",
     ram_to_rom},
    {"erase", "Erases the PLC's program and data",
     "Make a backup first: plexum blocks backup DIR\n\n", erase},
};

}  // namespace

void add_service_commands(CLI::App& program) {
  for (const Command& service : kCommands) {
    const auto options = std::make_shared<ServiceOptions>();
    const std::string name = service.name;
    CLI::App& command = *program.add_subcommand(name, service.description);
    std::string footer = service.note;
    footer += "Examples:\n  plexum " + name + " --ip 192.0.2.10\n";
    footer += "  plexum " + name + " --sim --yes";
    command.footer(footer);
    add_yes_option(command, options->yes);
    if (service.act == start || service.act == stop) {
      command.add_option("--wait", options->wait, "Seconds for the CPU to change its mode")
          ->check(CLI::Range(0u, 3600u))
          ->capture_default_str();
    }
    add_connection_options(command, options->connection);
    command.callback([options, act = service.act] { act(*options); });
  }
}

}  // namespace plexum::cli
