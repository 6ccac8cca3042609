#include <csignal>
#include <iostream>

#include "cli/commands.h"
#include "sim/simulated_plc.h"

namespace plexum::cli {

int run_simulator(const sim::Options& options) {
  // Blocked before the simulator's thread begins, so that they wait for this one.
  sigset_t ends;
  sigemptyset(&ends);
  sigaddset(&ends, SIGINT);
  sigaddset(&ends, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &ends, nullptr);

  const sim::SimulatedPlc plc(options);
  std::cout << "listening on " << plc.address() << std::endl;
  int signal = 0;
  sigwait(&ends, &signal);
  return 0;
}

}  // namespace plexum::cli
