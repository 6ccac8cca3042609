#include <CLI/CLI.hpp>
#include <chrono>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "cli/commands.h"

namespace {

using plexum::sim::Options;

void add_capture_option(CLI::App& command, std::string& path) {
  command.add_option("--pcap", path, "Write the telegrams to a capture for Wireshark and tshark")
      ->type_name("FILE");
}

// Reads texts by one of the simulator's own parsers, whose complaints are for users.
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

void add_simulator_options(CLI::App& command, Options& options) {
  command.add_option("--listen", options.listen, "Address to listen on")->capture_default_str();
  command.add_option("--port", options.port, "Port to listen on; 0 for any free one")
      ->capture_default_str();
  command.add_option("--pdu", options.pdu, "Largest PDU that is granted, in bytes")
      ->check(CLI::Range(Options::kSmallestPdu, Options::kLargestPdu))
      ->capture_default_str();
  command
      .add_option_function<std::vector<std::string>>(
          "--db",
          [&options](const std::vector<std::string>& texts) {
            parse_each(texts, [&](const std::string& text) {
              options.data_blocks.push_back(plexum::sim::parse_data_block(text));
            });
          },
          "A data block and its size in bytes (repeatable; DB 1 to DB 10 of 1024 without)")
      ->type_name("NUMBER:SIZE");
  command
      .add_option_function<std::vector<std::string>>(
          "--fault",
          [&options](const std::vector<std::string>& texts) {
            parse_each(texts, [&](const std::string& text) {
              options.faults.push_back(plexum::sim::parse_fault(text));
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
  command.add_flag("--protected", options.write_protected, "Refuse writes and control services");
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Talks to Siemens S7 PLCs over ISO-on-TCP");
  app.require_subcommand(1);
  app.set_version_flag("--version", PLEXUM_VERSION);

  int exit_code = 0;
  std::string capture_path;
  Options options;

  CLI::App* const demo = app.add_subcommand("demo", "A tour: reads a simulated PLC");
  add_capture_option(*demo, capture_path);
  demo->callback([&] { exit_code = plexum::cli::run_demo(capture_path); });

  CLI::App* const host =
      app.add_subcommand("host", "Drives one control by JSON lines on standard input");
  add_capture_option(*host, capture_path);
  host->callback([&] { exit_code = plexum::cli::run_host(capture_path); });

  CLI::App* const simulator = app.add_subcommand("sim", "Runs a simulated PLC");
  add_simulator_options(*simulator, options);
  simulator->callback([&] { exit_code = plexum::cli::run_simulator(options); });

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : 2;
  } catch (const std::exception& error) {
    std::cerr << "plexum: " << error.what() << '\n';
    return 1;
  }
  return exit_code;
}
