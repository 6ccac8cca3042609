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

// A service that the PLC refuses looks like one that it carries out.
void request(Session& session, const std::string& what, Service service) {
  session.run(what, Step::kService, [&](PlexumLink& link) { return (link.*service)(); });
}

// Starts or stops the CPU.
void change_mode(const ServiceOptions& options, RunMode wanted, const std::string& verb,
                 Service service) {
  Session session(options.connection);
  session.connect();
  if (read_mode(session) == wanted) {
    std::cout << "nothing to do: the CPU is in " << name_of(wanted) << " already\n";
    return;
  }
  const std::string what = verb + " the CPU of " + session.plc_name();
  ask_before(what, options.yes);
  request(session, what, service);

  constexpr std::chrono::milliseconds kPause{100};
  const InterruptScope interrupt;
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(options.wait);
  RunMode mode = read_mode(session);
  while (mode != wanted && std::chrono::steady_clock::now() < end && !interrupt.interrupted()) {
    session.idle(kPause);
    mode = read_mode(session);
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

// Blocks of the user's program; what a CPU keeps of its system data is its own matter.
std::size_t count_of_program(Session& session) {
  std::size_t count = 0;
  for (const char* const type : {"OB", "FB", "FC", "DB"}) {
    count += list_blocks(session, block_type(type)).numbers.size();
  }
  return count;
}

void erase(const ServiceOptions& options) {
  Session session(options.connection);
  session.connect();
  const std::size_t before = count_of_program(session);
  const std::string what = "erase the memory of " + session.plc_name();
  ask_before(what + ", with " + std::to_string(before) + " blocks", options.yes);
  request(session, what, &PlexumLink::pg_plcErase);
  const std::size_t after = count_of_program(session);
  if (after > 0) {
    throw Failure(what + ": the PLC answered, but still lists " + std::to_string(after) +
                  " blocks; it has refused");
  }
  std::cout << (before > 0 ? "erased (verified by the block lists, which are empty now)\n"
                           : "the PLC answered; there was no block before by which to see that it "
                             "erased\n");
}

// What shows no effect that could be read.
void request_blindly(const ServiceOptions& options, const std::string& verb, Service service) {
  Session session(options.connection);
  session.connect();
  const std::string what = verb + " of " + session.plc_name();
  ask_before(what, options.yes);
  request(session, what, service);
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
