#include "cli/system/console.h"

namespace plexum::cli {

Console::Console(int argc, char** argv) : arguments_(argv, argv + argc) { point_to_arguments(); }

Console::~Console() = default;

}  // namespace plexum::cli
