#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "cli/commands/commands.h"
#include "cli/link/plc_connection.h"
#include "cli/text/iso_time.h"

namespace plexum::cli {
namespace {

struct ClockOptions {
  ConnectionOptions connection;
  bool json = false;
  bool utc = false;
  std::string time;
};

void show(const ClockOptions& options) {
  PlcConnection plc(options.connection);
  const PlcTime time =
      plc.run("reading the clock", [](S7Client& client) { return client.clock(); });
  if (options.json) {
    const nlohmann::ordered_json found{{"clock", iso_text(time)}, {"weekday", weekday_name(time)}};
    std::cout << found.dump() << '\n';
  } else {
    std::cout << iso_text(time) << '\n';
  }
}

void set(const ClockOptions& options) {
  const bool to_now = options.time == "now";
  const PlcTime given = to_now ? PlcTime() : parse_time(options.time);
  PlcConnection plc(options.connection);
  plc.connect();
  const PlcTime time = to_now ? time_of_computer(options.utc) : given;
  plc.run("setting the clock", [&](S7Client& client) { client.set_clock(time); });
  std::cout << "set to " << iso_text(time) << '\n';
}

}  // namespace

void add_clock_command(CLI::App& program) {
  const auto options = std::make_shared<ClockOptions>();
  CLI::App& command = *program.add_subcommand("clock", "Shows or sets the PLC's clock");
  command.footer(
      "A PLC's clock knows no time zone: it shows what it was set to.\n\n"
      "Examples:\n"
      "  plexum clock --ip 192.0.2.10\n"
      "  plexum clock --ip 192.0.2.10 set now\n"
      "  plexum clock --ip 192.0.2.10 set 2026-11-23T08:05:00");
  command.require_subcommand(0, 1);
  command.add_flag("--json", options->json, "As JSON");
  add_connection_options(command, options->connection);
  command.callback([options, &command] {
    if (command.get_subcommands().empty()) show(*options);
  });

  CLI::App& setting = *command.add_subcommand("set", "Sets the clock");
  setting.footer(
      "Examples:\n"
      "  plexum clock --sim set now --utc\n"
      "  plexum clock --sim set 2026-11-23T08:05:00.5");
  setting.fallthrough();
  setting
      .add_option("time", options->time,
                  "now, for this computer's time, or YYYY-MM-DDTHH:MM[:SS[.fff]]")
      ->required();
  setting.add_flag("--utc", options->utc, "With now: as UTC and not as local time");
  setting.callback([options] { set(*options); });
}

}  // namespace plexum::cli
