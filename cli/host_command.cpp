#include <iostream>
#include <memory>
#include <string>

#include "cli/commands.h"
#include "cli/connection_options.h"
#include "cli/host_session.h"

namespace plexum::cli {
namespace {

void run_host(const std::string& capture_path) {
  LocalLink local(capture_path);
  HostSession session(local);
  std::string line;
  while (std::getline(std::cin, line)) {
    std::cout << session.reply_to(line) << std::endl;  // flushed: the other side waits for it
  }
}

}  // namespace

void add_host_command(CLI::App& program) {
  const auto capture_path = std::make_shared<std::string>();
  CLI::App& command =
      *program.add_subcommand("host", "Drives one control by JSON lines on standard input");
  add_capture_option(command, *capture_path);
  command.callback([capture_path] { run_host(*capture_path); });
}

}  // namespace plexum::cli
