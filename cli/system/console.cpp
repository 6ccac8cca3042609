#include "cli/system/console.h"

namespace plexum::cli {

void Console::point_to_arguments() {
  for (const std::string& argument : arguments_) pointers_.push_back(argument.c_str());
}

}  // namespace plexum::cli
