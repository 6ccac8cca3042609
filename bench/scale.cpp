#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <functional>
#include <memory>
#include <vector>

#include "bench/control.h"
#include "bench/floor.h"
#include "bench/jobs.h"
#include "bench/peer.h"
#include "bench/samples.h"
#include "bench/sections.h"

namespace plexum::bench {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint16_t kPdu = 960;
constexpr std::array<std::size_t, 5> kCounts = {1, 4, 16, 64, 256};

// Of this process, in bytes.
double resident() {
  std::ifstream file("/proc/self/statm");
  long all = 0;
  long resident = 0;
  file >> all >> resident;
  return static_cast<double>(resident) * static_cast<double>(::sysconf(_SC_PAGESIZE));
}

double heap() {
  const struct mallinfo2 info = ::mallinfo2();
  return static_cast<double>(info.uordblks);
}

// How many times a second `job` is done, for each of `count` in turn.
double rate(std::size_t count, const std::function<void(std::size_t)>& job) {
  constexpr std::size_t kJobs = 20000;
  const Clock::time_point start = Clock::now();
  for (std::size_t i = 0; i < kJobs; ++i) job(i % count);
  return kJobs / std::chrono::duration<double>(Clock::now() - start).count();
}

// What was measured in one round.
struct Round {
  double floor = 0;    // jobs a second
  double control = 0;  // jobs a second
  double heap_each = 0;
  double resident_each = 0;
};

Round measure_round(const Job& job, std::uint16_t port, std::size_t count) {
  Round round;
  posix::EventLoop loop;
  std::vector<std::unique_ptr<Control>> controls;
  const double heap_before = heap();
  const double resident_before = resident();
  while (controls.size() < count) {
    controls.push_back(std::make_unique<Control>(loop));
    connect(controls.back()->link, port);
    job.run(controls.back()->link);
  }
  round.heap_each = (heap() - heap_before) / static_cast<double>(count);
  round.resident_each = (resident() - resident_before) / static_cast<double>(count);
  const Dialogue dialogue = dialogue_of(job, kPdu, controls[0]->environment);
  std::vector<std::unique_ptr<Floor>> floors;
  while (floors.size() < count) {
    floors.push_back(std::make_unique<Floor>());
    floors.back()->connect(port);
  }
  const auto by_floor = [&](std::size_t i) { floors[i]->play(dialogue); };
  const auto by_control = [&](std::size_t i) { job.run(controls[i]->link); };
  rate(count, by_floor);
  round.floor = rate(count, by_floor);
  round.control = rate(count, by_control);
  return round;
}

}  // namespace

void measure_scale() {
  constexpr int kRounds = 11;
  place(Placement::kOneProcessor);
  const Peer peer(Peer::Kind::kAnswerer, kPdu);
  const Job job = round_trip_jobs()[1];
  std::printf(
      "\nMany controls on one thread, each with its own connection, in turn; one processor; %s\n"
      "%8s %22s %22s %7s %9s %9s\n%8s %11s %10s %11s %10s %7s %9s %9s\n",
      job.name.c_str(), "", "floor", "control", "", "heap", "resident", "number", "jobs/second",
      "against 1", "jobs/second", "against 1", "ratio", "bytes each", "bytes each");
  double floor_of_one = 0;
  double control_of_one = 0;
  for (const std::size_t count : kCounts) {
    std::vector<double> floors;
    std::vector<double> controls;
    std::vector<double> ratios;
    Round first;
    for (int i = 0; i < kRounds; ++i) {
      const Round round = measure_round(job, peer.port(), count);
      if (i == 0) first = round;
      floors.push_back(round.floor);
      controls.push_back(round.control);
      ratios.push_back(round.floor / round.control);
    }
    if (count == 1) {
      floor_of_one = median(floors);
      control_of_one = median(controls);
    }
    std::printf("%8zu %11s %10s %11s %10s %7s %9s %9s\n", count, fixed(median(floors), 0).c_str(),
                fixed(median(floors) / floor_of_one, 3).c_str(), fixed(median(controls), 0).c_str(),
                fixed(median(controls) / control_of_one, 3).c_str(),
                fixed(median(ratios), 3).c_str(), fixed(first.heap_each, 0).c_str(),
                fixed(first.resident_each, 0).c_str());
    std::fflush(stdout);
  }
  place(Placement::kAnywhere);
}

void measure_idle(int seconds) {
  const Peer peer(Peer::Kind::kAnswerer, kPdu);
  posix::EventLoop loop;
  Control control(loop);
  connect(control.link, peer.port());
  const Job job = round_trip_jobs()[1];
  for (int i = 0; i < 1000; ++i) job.run(control.link);
  const auto wake_ups = [&](int face_milliseconds) {
    int ticks = 0;
    posix::EventLoop::TimerId face = 0;
    const posix::EventLoop::Callback tick = [&] {
      ++ticks;
      control.link.Timer1_Timer();
      face = loop.add_timer(std::chrono::milliseconds(face_milliseconds), [&tick] { tick(); });
    };
    if (face_milliseconds > 0) {
      face = loop.add_timer(std::chrono::milliseconds(face_milliseconds), [&tick] { tick(); });
    }
    loop.add_timer(std::chrono::seconds(seconds), [&] { loop.stop(); });
    rusage before{};
    rusage after{};
    ::getrusage(RUSAGE_SELF, &before);
    loop.run();
    ::getrusage(RUSAGE_SELF, &after);
    loop.cancel_timer(face);
    std::printf("%-34s %10ld %12d\n",
                face_milliseconds > 0 ? "with a face's timer of 100 ms" : "without a face",
                after.ru_nvcsw - before.ru_nvcsw, ticks);
    std::fflush(stdout);
  };
  std::printf("\nAn idle connected control, %d seconds\n%-34s %10s %12s\n", seconds, "", "wake-ups",
              "timer ticks");
  wake_ups(0);
  wake_ups(100);
}

}  // namespace plexum::bench
