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
  bool cold = false;
  unsigned wait = 10;  // seconds for the CPU to change its mode
};

using Service = void (S7Client::*)();

void request(PlcConnection& plc, const std::string& what, Service service) {
  plc.run(what, [&](S7Client& client) { (client.*service)(); });
}

// Starts or stops the CPU. Its answer only says that it begins to, so the run mode is watched.
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
    throw Failure(what + ": the PLC accepted it, but its run mode is " + name_of(mode) +
                  "; see its diagnostics, or give it more time with --wait");
  }
  std::cout << (wanted == RunMode::kRun ? "started" : "stopped") << " (verified by the run mode)\n";
}

void start(const ServiceOptions& options) {
  change_mode(options, RunMode::kRun, "start",
              options.cold ? &S7Client::cold_start : &S7Client::warm_start);
}

void stop(const ServiceOptions& options) {
  change_mode(options, RunMode::kStop, "stop", &S7Client::stop);
}

// Counts the blocks of the user's program. System data blocks don't count: a CPU keeps some of them
// when it is erased.
std::size_t count_of_program(PlcConnection& plc) {
  std::size_t count = 0;
  for (const auto& [type, blocks] : count_blocks(plc)) {
    const bool erasable = !type->of_system && type != &block_type("SDB");
    count += erasable ? blocks : 0;
  }
  return count;
}

void ask_and_request(PlcConnection& plc, const ServiceOptions& options, const std::string& what,
                     const std::string& details, Service service) {
  ask_before(what + details, options.yes);
  request(plc, what, service);
  std::cout << "done\n";
}

void erase(const ServiceOptions& options) {
  PlcConnection plc(options.connection);
  const std::size_t blocks = count_of_program(plc);
  ask_and_request(plc, options, "erase the memory of " + plc.plc_name(),
                  ", with " + std::to_string(blocks) + " blocks", &S7Client::erase);
}

void compress(const ServiceOptions& options) {
  PlcConnection plc(options.connection);
  plc.connect();
  ask_and_request(plc, options, "compress the memory of " + plc.plc_name(), "",
                  &S7Client::compress);
}

void ram_to_rom(const ServiceOptions& options) {
  PlcConnection plc(options.connection);
  plc.connect();
  ask_and_request(plc, options, "copy RAM to ROM of " + plc.plc_name(), "",
                  &S7Client::copy_ram_to_rom);
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
    {"compress", "Compresses the PLC's memory", "", compress},
    {"ram-to-rom", "Copies the work memory to the load memory",
     "The present values of the data blocks become those that the PLC starts with.\n\n",
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
    if (service.act == start) {
      command.add_flag("--cold", options->cold,
                       "A cold start: all data get the values that they start with");
    }
    add_connection_options(command, options->connection);
    command.callback([options, act = service.act] { act(*options); });
  }
}

}  // namespace plexum::cli
