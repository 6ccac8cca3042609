#include <chrono>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/system/interrupt.h"
#include "sim/simulated_plc.h"

namespace plexum::cli {
namespace {

// Parses texts by one of the simulator's parsers. Their errors are shown to the user as they are.
template <typename Parse>
void parse_each(const std::vector<std::string>& texts, Parse parse) {
  for (const std::string& text : texts) {
    try {
      parse(text);
    } catch (const std::invalid_argument& error) {
      throw CLI::ValidationError(error.what());
    }
  }
}

void add_simulator_options(CLI::App& command, sim::Options& options) {
  command.add_option("--listen", options.listen, "Address to listen on")->capture_default_str();
  command.add_option("--port", options.port, "Port to listen on; 0 for any free one")
      ->capture_default_str();
  command.add_option("--pdu", options.pdu, "Largest PDU that is granted, in bytes")
      ->check(CLI::Range(sim::Options::kSmallestPdu, sim::Options::kLargestPdu))
      ->capture_default_str();
  command.add_option("--jobs", options.jobs, "Most jobs in flight that are granted")
      ->check(CLI::Range(1, static_cast<int>(sim::Options::kMostJobs)))
      ->capture_default_str();
  command
      .add_option_function<unsigned>(
          "--latency",
          [&options](unsigned latency) { options.latency = std::chrono::milliseconds(latency); },
          "Milliseconds from a job to its answer (0)")
      ->type_name("MS")
      ->check(CLI::Range(0u, 60000u));
  command
      .add_option_function<std::vector<std::string>>(
          "--db",
          [&options](const std::vector<std::string>& texts) {
            parse_each(texts, [&](const std::string& text) {
              options.data_blocks.push_back(sim::parse_data_block(text));
            });
          },
          "A data block and its size in bytes (repeatable; DB 1 to DB 10 of 1024 without)")
      ->type_name("NUMBER:SIZE");
  command
      .add_option_function<std::vector<std::string>>(
          "--fault",
          [&options](const std::vector<std::string>& texts) {
            parse_each(texts, [&](const std::string& text) {
              options.faults.push_back(sim::parse_fault(text));
            });
          },
          "A scripted fault (repeatable), for example silence@2 or late=50")
      ->type_name("FAULT");
  command
      .add_option_function<unsigned>(
          "--download-pause",
          [&options](unsigned pause) { options.download_pause = std::chrono::milliseconds(pause); },
          "Milliseconds before the PLC's own first job of a download (20)")
      ->type_name("MS")
      ->check(CLI::Range(0u, 60000u));
  command.add_flag("--program", options.runs_program,
                   "Run a small program: values that change by themselves");
  command.add_flag("--protected", options.write_protected, "Refuse writes and control services");
}

void run_simulator(const sim::Options& options) {
  const InterruptScope scope;
  const sim::SimulatedPlc plc(options);
  std::cout << "listening on " << plc.address() << std::endl;
  scope.wait();
}

}  // namespace

void add_simulator_command(CLI::App& program) {
  const auto options = std::make_shared<sim::Options>();
  CLI::App& command = *program.add_subcommand("sim", "Runs a simulated PLC");
  command.footer(
      "Examples:\n"
      "  plexum sim --port 10102\n"
      "  plexum sim --port 0 --db 1:1024 --fault late=50 --fault silence@3");
  add_simulator_options(command, *options);
  command.callback([options] { run_simulator(*options); });
}

}  // namespace plexum::cli
