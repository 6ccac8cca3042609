#include <cstdio>
#include <string>
#include <vector>

#include "bench/client.h"
#include "bench/control.h"
#include "bench/floor.h"
#include "bench/jobs.h"
#include "bench/peer.h"
#include "bench/samples.h"
#include "bench/sections.h"
#include "bench/system_calls.h"

namespace plexum::bench {
namespace {

constexpr std::uint16_t kLargestPdu = 960;  // that the control asks for

void print_head(const std::string& title) {
  std::printf("\n%s\n%-34s %17s %17s %7s %9s\n%-34s %8s %8s %8s %8s %7s %9s\n", title.c_str(),
              "microseconds", "floor", "subject", "", "processor", "", "median", "p99", "median",
              "p99", "ratio", "above");
}

void print_row(const std::string& name, const Pairs& pairs) {
  std::printf("%-34s %8s %8s %8s %8s %7s %9s\n", name.c_str(),
              fixed(Pairs::typical(pairs.floor, &Sample::median), 2).c_str(),
              fixed(Pairs::typical(pairs.floor, &Sample::p99), 2).c_str(),
              fixed(Pairs::typical(pairs.subject, &Sample::median), 2).c_str(),
              fixed(Pairs::typical(pairs.subject, &Sample::p99), 2).c_str(),
              fixed(pairs.ratio(&Sample::median), 3).c_str(),
              fixed(pairs.difference(&Sample::processor), 2).c_str());
  std::fflush(stdout);
}

// The same job as the floor's dialogue and by the control, both connected.
void compare_job(const Job& job, std::uint16_t pdu, std::uint16_t port, int pairs, int operations) {
  posix::EventLoop loop;
  Control control(loop);
  const Dialogue dialogue = dialogue_of(job, pdu, control.environment);
  connect(control.link, port);
  Floor floor;
  floor.connect(port);
  floor.play(dialogue_of_connecting(pdu, control.environment));
  print_row(job.name,
            measure_pairs(
                pairs, operations, [&] { floor.play(dialogue); }, [&] { job.run(control.link); }));
}

// The same for one read of the client.
void compare_client_read(std::uint32_t bytes, std::uint16_t port, int pairs, int operations) {
  const std::vector<client::Item> items = {{.block = 1, .count = bytes}};
  const ClientDialogues dialogues = dialogues_of_reading(items, port);
  posix::EventLoop loop;
  Client client(loop, port);
  Floor floor;
  floor.connect(port);
  floor.play(dialogues.connecting);
  print_row(
      "S7Client " + std::to_string(bytes) + " bytes",
      measure_pairs(
          pairs, operations, [&] { floor.play(dialogues.job); }, [&] { read(client.s7, items); }));
}

void compare_connecting(std::uint16_t port, int pairs) {
  constexpr int kConnections = 100;
  posix::EventLoop loop;
  Control control(loop);
  const Dialogue dialogue = dialogue_of_connecting(kLargestPdu, control.environment);
  const auto by_floor = [&] {
    Floor floor;
    floor.connect(port);
    floor.play(dialogue);
  };
  const auto by_control = [&] {
    connect(control.link, port);
    control.link.ag_exit();
  };
  print_row("connecting and closing", measure_pairs(pairs, kConnections, by_floor, by_control));
}

void print_system_calls(std::uint16_t port) {
  constexpr int kJobs = 500;
  std::printf("\nSystem calls a job, steady state\n");
  for (const Job& job : round_trip_jobs()) {
    posix::EventLoop loop;
    Control control(loop);
    const auto calls = count_system_calls(
        [&] {
          connect(control.link, port);
          for (int i = 0; i < 100; ++i) job.run(control.link);
        },
        [&] {
          for (int i = 0; i < kJobs; ++i) job.run(control.link);
        });
    std::string names;
    long all = 0;
    for (const auto& [name, count] : calls) {
      all += count;
      names += ", " + name + " " + fixed(static_cast<double>(count) / kJobs, 2);
    }
    std::printf("%-34s %5s %s\n", job.name.c_str(),
                fixed(static_cast<double>(all) / kJobs, 2).c_str(), names.c_str() + 1);
  }
}

void measure(Peer::Kind kind, Placement placement, const std::string& title, int pairs) {
  constexpr int kJobs = 1000;
  constexpr int kLongReads = 20;
  place(placement);
  {
    const Peer peer(kind, kLargestPdu);
    print_head(title);
    for (const Job& job : round_trip_jobs()) {
      compare_job(job, kLargestPdu, peer.port(), pairs, kJobs);
    }
    for (const std::uint32_t bytes : {2u, 200u, 900u}) {
      compare_client_read(bytes, peer.port(), pairs, kJobs);
    }
    compare_connecting(peer.port(), pairs);
  }
  for (const std::uint16_t pdu : {std::uint16_t{480}, kLargestPdu}) {
    const Peer peer(kind, pdu);
    compare_job(block_reads(15, 4000, pdu), pdu, peer.port(), pairs, kLongReads);
  }
  place(Placement::kAnywhere);
}

}  // namespace

void measure_round_trips(int pairs) {
  using Kind = Peer::Kind;
  const struct {
    Placement placement;
    const char* name;
  } placements[] = {{Placement::kAnywhere, "unpinned"},
                    {Placement::kOneProcessor, "both on one processor"},
                    {Placement::kOneEach, "each on a processor of its own"}};
  for (const auto& [placement, name] : placements) {
    measure(Kind::kSimulator, placement, std::string("Simulated PLC, ") + name, pairs);
    measure(Kind::kAnswerer, placement, std::string("Bare answerer, ") + name, pairs);
  }
  const Peer peer(Kind::kAnswerer, kLargestPdu);
  print_system_calls(peer.port());
}

}  // namespace plexum::bench
