#include "cli/link/command_environment.h"

#include <iostream>

namespace plexum::cli {

void CommandEnvironment::write_to_standard_error(const std::string& text) {
  std::cerr << text << std::endl;
}

}  // namespace plexum::cli
