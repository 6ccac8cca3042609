// The native measurement: plexum_bench [PART...], all parts without.
//   round-trips  jobs, connecting and long reads against the floor
//   client       lists of items and long reads of the client, many jobs in flight
//   watch        the processor's share of a thousand variables, ten times a second
//   scale        many controls in one process
//   idle         wake-ups of an idle connected control
//   peer         prints the port of a bare answerer and serves until it is ended
//   jobs N, connections N
//                N reads of 200 bytes, or connections, with a bare answerer: to be profiled
#include <sys/prctl.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

#include "bench/control.h"
#include "bench/jobs.h"
#include "bench/peer.h"
#include "bench/sections.h"

namespace {

using namespace plexum::bench;

[[noreturn]] void serve() {
  std::uint16_t port = 0;
  const int listener = listen_on_a_free_port(port);
  std::printf("%d\n", int{port});
  std::fflush(stdout);
  ::prctl(PR_SET_PDEATHSIG, SIGTERM);
  answer_on(listener, 960);
}

void repeat(const std::string& what, long count) {
  const Peer peer(Peer::Kind::kAnswerer, 960);
  plexum::posix::EventLoop loop;
  Control control(loop);
  connect(control.link, peer.port());
  const Job job = round_trip_jobs()[1];
  for (long i = 0; i < count; ++i) {
    if (what == "jobs") {
      job.run(control.link);
    } else {
      connect(control.link, peer.port());
    }
  }
}

void run(const std::vector<std::string>& parts) {
  constexpr int kPairs = 25;
  constexpr int kIdleSeconds = 5;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (parts[i] == "round-trips") {
      measure_round_trips(kPairs);
    } else if (parts[i] == "client") {
      measure_client(kPairs);
    } else if (parts[i] == "watch") {
      measure_watch();
    } else if (parts[i] == "scale") {
      measure_scale();
    } else if (parts[i] == "idle") {
      measure_idle(kIdleSeconds);
    } else if (parts[i] == "peer") {
      serve();
    } else if ((parts[i] == "jobs" || parts[i] == "connections") && i + 1 < parts.size()) {
      repeat(parts[i], std::atol(parts[i + 1].c_str()));
      ++i;
    } else {
      throw std::runtime_error("no part of the measurement: " + parts[i]);
    }
  }
}

}  // namespace

int main(int count, char** arguments) {
  try {
    std::vector<std::string> parts(arguments + 1, arguments + count);
    if (parts.empty()) parts = {"round-trips", "client", "watch", "scale", "idle"};
    run(parts);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "plexum_bench: %s\n", error.what());
    return 1;
  }
}
