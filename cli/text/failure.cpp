#include "cli/text/failure.h"

#include <iostream>

namespace plexum::cli {

void report(const Failure& failure) { std::cerr << "plexum: " << failure.what() << '\n'; }

}  // namespace plexum::cli
