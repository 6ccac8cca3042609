#include <cstdio>
#include <memory>
#include <string>

#include "cli/commands/commands.h"
#include "cli/link/connection_options.h"
#include "cli/link/local_link.h"
#include "cli/text/bytes_as_text.h"
#include "cli/text/failure.h"
#include "sim/simulated_plc.h"

namespace plexum::cli {
namespace {

// One read of the tour.
struct Stop {
  const char* what;
  const char* member;  // "ag_Read" or "ag_ReadB"
  const char *DBNr, *anzby, *startad, *Datenart, *Spsarts;
};

constexpr Stop kTour[] = {
    {"bytes", "ag_Read", "1", "8", "0", "B", "D"},
    {"a word", "ag_Read", "1", "2", "16", "W", "D"},
    {"integers (signed words)", "ag_Read", "1", "4", "16", "I", "D"},
    {"double words", "ag_Read", "1", "8", "20", "D", "D"},
    {"floats", "ag_Read", "1", "8", "28", "F", "D"},
    {"bits, least significant first", "ag_Read", "1", "1", "36", "X", "D"},
    {"the raw byte string", "ag_ReadB", "1", "18", "40", "C", "D"},
    {"the first bytes of the inputs", "ag_Read", "0", "4", "0", "B", "E"},
};

// Prints lines of 16 bytes, the direction in front of the first.
void print_dump(const char* direction, const std::string& bytes) {
  constexpr std::size_t kBytesALine = 16;
  for (std::size_t i = 0; i < bytes.size(); i += kBytesALine) {
    std::printf("    %-2s %s\n", i == 0 ? direction : "",
                hex_dump(bytes.substr(i, kBytesALine)).c_str());
  }
}

std::string shown(const Value& value) {
  if (const auto* array = std::get_if<DoubleArray>(&value)) {
    std::string text;
    for (const double element : array->elements) {
      char number[32];
      std::snprintf(number, sizeof number, "%.7G", element);
      text += text.empty() ? "" : "  ";
      text += number;
    }
    return text;
  }
  if (const auto* bytes = std::get_if<std::string>(&value)) {
    std::string text = "\"";
    for (const char c : *bytes) text += c >= ' ' && c <= '~' ? c : '.';
    return text + "\"  (" + hex_dump(*bytes) + ")";
  }
  return "nothing";
}

void run_demo(const std::string& capture_path) {
  sim::Options options;
  options.port = 0;
  const sim::SimulatedPlc plc(options);
  LocalLink local(capture_path);
  local.watched.on_sent = [](const std::string& bytes) { print_dump(">", bytes); };
  local.watched.on_taken = [](const std::string& bytes) { print_dump("<", bytes); };
  PlexumLink& link = local.link;
  link.Tzeit(1000);

  std::printf("A simulated PLC listens on %s; the control connects to it.\n\n",
              plc.address().c_str());
  const std::string port = std::to_string(plc.port());
  std::printf("ag_ini(\"127.0.0.1\", \"%s\", \"1.0\", \"3.2\")\n", port.c_str());
  if (!link.ag_ini("127.0.0.1", port, "1.0", "3.2")) {
    throw Failure("the connection failed, err = " + std::to_string(link.err()));
  }
  std::printf("  %s\n\n", link.status_text().c_str());

  for (const Stop& stop : kTour) {
    std::printf("%s: %s(\"%s\", \"%s\", \"%s\", \"%s\", \"%s\")\n", stop.what, stop.member,
                stop.DBNr, stop.anzby, stop.startad, stop.Datenart, stop.Spsarts);
    const bool raw = std::string(stop.member) == "ag_ReadB";
    const auto member = raw ? &PlexumLink::ag_ReadB : &PlexumLink::ag_Read;
    const Value result =
        (link.*member)(stop.DBNr, stop.anzby, stop.startad, stop.Datenart, stop.Spsarts);
    if (link.err() != 0) {
      throw Failure("the job failed, err = " + std::to_string(link.err()));
    }
    std::printf("  = %s\n\n", shown(result).c_str());
  }
  link.ag_exit();
  std::printf("ag_exit()\n  %s\n", link.status_text().c_str());
}

}  // namespace

void add_demo_command(CLI::App& program) {
  const auto capture_path = std::make_shared<std::string>();
  CLI::App& command = *program.add_subcommand("demo", "A tour: reads a simulated PLC");
  command.footer(
      "Examples:\n"
      "  plexum demo\n"
      "  plexum demo --pcap demo.pcap");
  add_capture_option(command, *capture_path);
  command.callback([capture_path] { run_demo(*capture_path); });
}

}  // namespace plexum::cli
