#include <iostream>
#include <string>

#include "cli/commands.h"
#include "cli/host_session.h"

namespace plexum::cli {

int run_host(const std::string& capture_path) {
  LocalLink local(capture_path);
  HostSession session(local);
  std::string line;
  while (std::getline(std::cin, line)) {
    std::cout << session.reply_to(line) << std::endl;  // flushed: the other side waits for it
  }
  return 0;
}

}  // namespace plexum::cli
