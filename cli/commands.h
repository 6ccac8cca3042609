#pragma once

#include <string>

#include "sim/options.h"

namespace plexum::cli {

// The commands of `plexum`. Each returns the exit code of the program; what fails in the system
// (a port in use, a file that can't be written) is thrown.

// Drives one control by JSON lines, from standard input to standard output.
int run_host(const std::string& capture_path);

// Runs a simulated PLC until SIGINT or SIGTERM.
int run_simulator(const sim::Options& options);

// Reads a simulated PLC through the control and shows the telegrams beside the results.
int run_demo(const std::string& capture_path);

}  // namespace plexum::cli
