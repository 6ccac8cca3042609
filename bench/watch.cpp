#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/peer.h"
#include "bench/sections.h"

namespace plexum::bench {
namespace {

// The processor time of a run of `plexum` with its standard output thrown away, in seconds.
double processor_time_of(std::vector<std::string> arguments) {
  std::vector<char*> pointers;
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  const pid_t process = ::fork();
  if (process == 0) {
    const int nowhere = ::open("/dev/null", O_WRONLY);
    ::dup2(nowhere, STDOUT_FILENO);
    ::dup2(nowhere, STDERR_FILENO);
    ::execv(PLEXUM_PROGRAM, pointers.data());
    std::_Exit(127);
  }
  int status = 0;
  rusage used{};
  if (::wait4(process, &status, 0, &used) != process || status != 0) {
    throw std::runtime_error("plexum watch failed");
  }
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return seconds(used.ru_utime) + seconds(used.ru_stime);
}

}  // namespace

void measure_watch() {
  constexpr int kVariables = 1000;
  constexpr int kInABlock = 100;
  constexpr int kApart = 40;  // bytes
  constexpr int kPolls = 50;
  constexpr double kInterval = 0.1;  // seconds
  std::printf("\nplexum watch of %d double words, ten times a second for %.0f s\n%-34s %12s\n",
              kVariables, kPolls * kInterval, "", "% processor");
  for (const std::uint16_t pdu : {std::uint16_t{240}, std::uint16_t{480}, std::uint16_t{960}}) {
    const Peer peer(Peer::Kind::kSimulator, pdu);
    std::vector<std::string> arguments = {"plexum",     "watch",  "--ip",
                                          "127.0.0.1",  "--port", std::to_string(peer.port()),
                                          "--interval", "100"};
    for (int i = 0; i < kVariables; ++i) {
      arguments.push_back("DB" + std::to_string(1 + i / kInABlock) + ".DBD" +
                          std::to_string(kApart * (i % kInABlock)));
    }
    arguments.emplace_back("--count");
    arguments.emplace_back("1");
    const double once = processor_time_of(arguments);  // starting, connecting and the first poll
    arguments.back() = std::to_string(1 + kPolls);
    const double share = (processor_time_of(arguments) - once) / (kPolls * kInterval);
    std::printf("%-34s %12.1f\n", ("PDU " + std::to_string(pdu)).c_str(), 100 * share);
    std::fflush(stdout);
  }
}

}  // namespace plexum::bench
