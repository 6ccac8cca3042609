#include <algorithm>
#include <chrono>
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

namespace plexum::bench {
namespace {

using std::chrono::milliseconds;

constexpr int kBlocks = 15;  // of the peer
constexpr int kBlockSize = 4000;

// 4 bytes each, 600 bytes apart: no two are neighbours.
std::vector<client::Item> hundred_variables() {
  constexpr std::uint32_t kApart = 600;
  constexpr std::uint32_t kInABlock = 7;
  std::vector<client::Item> items;
  for (std::uint32_t i = 0; i < 100; ++i) {
    items.push_back({.block = static_cast<std::uint16_t>(1 + i / kInABlock),
                     .start = kApart * (i % kInABlock),
                     .count = 4});
  }
  return items;
}

std::vector<client::Item> whole_blocks() {
  std::vector<client::Item> items;
  for (std::uint16_t block = 1; block <= kBlocks; ++block) {
    items.push_back({.block = block, .count = kBlockSize});
  }
  return items;
}

// The same variables by the control, one at a time.
Job variables_by_control(const std::vector<client::Item>& items) {
  return {"ag_ReadB, one each", [items](PlexumLink& link) {
            for (const client::Item& item : items) {
              link.ag_ReadB(std::to_string(item.block), std::to_string(item.count),
                            std::to_string(item.start), "C", "D");
              if (link.err() != 0) throw std::runtime_error("a read of the control failed");
            }
          }};
}

void print_head(const std::string& title) {
  std::printf("\n%s\n%-46s %5s %9s %11s %11s %11s %7s\n", title.c_str(), "microseconds", "jobs",
              "telegrams", "PLC's time", "floor", "subject", "ratio");
}

// The ratio is that to the PLC's own time where it takes any, otherwise that to the floor.
void print_row(const std::string& name, std::size_t jobs, std::size_t telegrams,
               milliseconds latency, const Pairs& pairs) {
  const std::size_t waits = (telegrams + jobs - 1) / jobs;
  const double plc = 1000.0 * static_cast<double>(waits) * static_cast<double>(latency.count());
  const double subject = Pairs::typical(pairs.subject, &Sample::median);
  std::printf("%-46s %5zu %9zu %11s %11s %11s %7s\n", name.c_str(), jobs, telegrams,
              plc == 0 ? "-" : fixed(plc, 0).c_str(),
              fixed(Pairs::typical(pairs.floor, &Sample::median), 0).c_str(),
              fixed(subject, 0).c_str(),
              fixed(plc == 0 ? pairs.ratio(&Sample::median) : subject / plc, 3).c_str());
  std::fflush(stdout);
}

struct Circumstances {
  std::uint16_t pdu;
  std::uint16_t jobs;  // in flight, that the PLC grants
  milliseconds latency;
  int pairs;
  int operations;
};

void compare_client(const std::string& name, const std::vector<client::Item>& items,
                    std::size_t items_a_telegram, const Circumstances& c) {
  const Peer peer(Peer::Kind::kSimulator, c.pdu, {c.jobs, c.latency});
  client::Options options;
  options.items = items_a_telegram;
  const ClientDialogues dialogues = dialogues_of_reading(items, peer.port(), options);
  posix::EventLoop loop;
  Client client(loop, peer.port(), options);
  Floor floor;
  floor.connect(peer.port());
  floor.play(dialogues.connecting);
  print_row(name, c.jobs, dialogues.job.size(), c.latency,
            measure_pairs(
                c.pairs, c.operations, [&] { floor.play(dialogues.job, c.jobs); },
                [&] { read(client.s7, items); }));
}

void compare_control(const Job& job, const Circumstances& c) {
  const Peer peer(Peer::Kind::kSimulator, c.pdu, {c.jobs, c.latency});
  posix::EventLoop loop;
  Control control(loop);
  const Dialogue dialogue = dialogue_of(job, c.pdu, control.environment);
  connect(control.link, peer.port());
  Floor floor;
  floor.connect(peer.port());
  floor.play(dialogue_of_connecting(c.pdu, control.environment));
  print_row(
      "the control: " + job.name, 1, dialogue.size(), c.latency,
      measure_pairs(
          c.pairs, c.operations, [&] { floor.play(dialogue); }, [&] { job.run(control.link); }));
}

void measure_variables(int pairs) {
  constexpr int kReads = 100;
  const std::vector<client::Item> items = hundred_variables();
  print_head("100 variables of 4 bytes, 600 bytes apart");
  for (const std::uint16_t pdu : {std::uint16_t{240}, std::uint16_t{480}, std::uint16_t{960}}) {
    for (const std::size_t most : {std::size_t{20}, std::size_t{39}}) {
      compare_client(
          "PDU " + std::to_string(pdu) + ", " + std::to_string(most) + " items a telegram", items,
          most, {pdu, 8, milliseconds(0), pairs, kReads});
    }
  }
  compare_control(variables_by_control(items), {240, 8, milliseconds(0), pairs, kReads / 10});
}

void measure_long_reads(milliseconds latency, int pairs, int reads) {
  for (const std::uint16_t pdu : {std::uint16_t{240}, std::uint16_t{960}}) {
    for (const std::uint16_t jobs : {std::uint16_t{1}, std::uint16_t{3}, std::uint16_t{8}}) {
      compare_client("PDU " + std::to_string(pdu), whole_blocks(), 20,
                     {pdu, jobs, latency, pairs, reads});
    }
    compare_control(block_reads(kBlocks, kBlockSize, pdu), {pdu, 1, latency, pairs, reads});
  }
}

}  // namespace

void measure_client(int pairs) {
  constexpr int kSlowPairs = 5;
  const struct {
    Placement placement;
    const char* name;
  } placements[] = {{Placement::kAnywhere, "unpinned"},
                    {Placement::kOneProcessor, "both on one processor"}};
  for (const auto& [placement, name] : placements) {
    std::printf("\nThe client and the simulated PLC, %s\n", name);
    place(placement);
    measure_variables(pairs);
    print_head("60,000 bytes in 15 blocks");
    measure_long_reads(milliseconds(0), pairs, 5);
  }
  place(Placement::kAnywhere);
  print_head("60,000 bytes in 15 blocks from a PLC that takes 3 ms for a job");
  measure_long_reads(milliseconds(3), kSlowPairs, 1);
}

}  // namespace plexum::bench
