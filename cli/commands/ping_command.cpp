#include <chrono>
#include <iostream>
#include <memory>

#include "cli/commands/commands.h"
#include "cli/link/plc_connection.h"
#include "cli/plc/round_trips.h"
#include "cli/system/interrupt.h"
#include "cli/text/error_words.h"

namespace plexum::cli {
namespace {

struct PingOptions {
  ConnectionOptions connection;
  unsigned count = 10;
  unsigned bytes = 2;
  unsigned block = 0;  // 0: flags
  unsigned interval = 0;
};

// "DB10 bytes 0 to 1", "M bytes 0 to 1".
std::string described(const client::Item& item) {
  const std::string area =
      item.area == client::Area::kFlags ? "M" : "DB" + std::to_string(item.block);
  if (item.count == 1) return area + " byte 0";
  return area + " bytes 0 to " + std::to_string(item.count - 1);
}

void ping(const PingOptions& options) {
  PlcConnection plc(options.connection);
  const InterruptScope interrupt;
  const auto interrupted = [&] { return interrupt.interrupted(); };
  plc.cancel_when(interrupted);
  plc.connect();
  client::Item item;
  item.area = options.block == 0 ? client::Area::kFlags : client::Area::kDataBlock;
  item.block = static_cast<std::uint16_t>(options.block);
  item.count = options.bytes;
  const std::string what = "reading " + described(item);
  std::cerr << what << " of " << plc.plc_name() << ", " << options.count << " times\n";
  RoundTrips times;
  for (unsigned i = 0; i < options.count && !interrupted(); ++i) {
    if (i > 0) plc.idle(std::chrono::milliseconds(options.interval), interrupted);
    const auto start = std::chrono::steady_clock::now();
    const client::ReadOutcome outcome =
        plc.run(what, [&](S7Client& client) { return client.read(item); });
    if (!outcome.ok()) {
      throw Failure(
          line_of(what, outcome.error ? words_of(outcome.error) : words_of(outcome.code)));
    }
    times.add(std::chrono::steady_clock::now() - start);
  }
  std::cout << times.count() << " reads of " << item.count << " bytes: " << times.summary() << '\n';
}

}  // namespace

void add_ping_command(CLI::App& program) {
  const auto options = std::make_shared<PingOptions>();
  CLI::App& command = *program.add_subcommand("ping", "Measures the round trips of small reads");
  command.footer(
      "Examples:\n"
      "  plexum ping --sim\n"
      "  plexum ping --ip 192.0.2.10 --count 1000 --db 10 --bytes 200");
  command.add_option("--count", options->count, "How many reads")
      ->check(CLI::Range(1u, 1000000u))
      ->capture_default_str();
  command.add_option("--bytes", options->bytes, "Bytes a read")
      ->check(CLI::Range(1u, 65535u))
      ->capture_default_str();
  command.add_option("--db", options->block, "Data block to read; without it the flags are")
      ->check(CLI::Range(1u, 65535u));
  command.add_option("--interval", options->interval, "Milliseconds between two reads")
      ->check(CLI::Range(0u, 3600000u))
      ->capture_default_str();
  add_connection_options(command, options->connection);
  command.callback([options] { ping(*options); });
}

}  // namespace plexum::cli
