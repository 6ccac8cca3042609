#include <iostream>
#include <memory>
#include <string>

#include "cli/commands/commands.h"
#include "cli/help/member_help.h"
#include "cli/host/host_session.h"
#include "cli/link/connection_options.h"
#include "cli/link/local_link.h"

namespace plexum::cli {
namespace {

void run_host(const std::string& capture_path) {
  LocalLink local(capture_path);
  HostSession session(local.link, local.environment);
  std::string line;
  while (std::getline(std::cin, line)) {
    std::cout << session.reply_to(line) << std::endl;  // flushed: the other side waits for it
  }
}

// The help: the kinds of requests, and the members that they can name.
std::string requests_and_members() {
  constexpr std::size_t kColumns = 80;
  return R"(Requests, one a line:
  {"call":NAME,"args":[...]}     calls a method; its arguments are strings (MsgWait's a number)
  {"get":NAME}                   reads a property or state variable
  {"set":NAME,"value":V}         sets it

Examples:
  plexum host
  plexum host --pcap telegrams.pcap < requests.txt

Members:
)" + members_as_text(kColumns);
}

}  // namespace

void add_host_command(CLI::App& program) {
  const auto capture_path = std::make_shared<std::string>();
  CLI::App& command =
      *program.add_subcommand("host", "Drives one control by JSON lines on standard input");
  command.footer(requests_and_members());
  add_capture_option(command, *capture_path);
  command.callback([capture_path] { run_host(*capture_path); });
}

}  // namespace plexum::cli
