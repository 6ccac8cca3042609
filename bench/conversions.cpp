// The conversions, and reading from a PLC in memory that answers at once: what decoding costs
// beside a read of raw bytes ("C"), and all of it beside a round trip.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>

#include "bench/jobs.h"
#include "control/plexum_link.h"
#include "platform/posix/event_loop.h"
#include "platform/posix/host_environment.h"

namespace plexum::bench {
namespace {

struct Bench {
  Bench() { connect(link, 102); }

  posix::EventLoop loop;
  posix::PosixHostEnvironment environment{loop};
  AnsweringClient client{960};
  PlexumLink link{environment, client};
};

// A conversion of a text that the member may change.
template <typename Result>
void convert(benchmark::State& state, Result (PlexumLink::*member)(std::string&),
             const std::string& text) {
  Bench bench;
  for (auto _ : state) {
    std::string argument = text;
    benchmark::DoNotOptimize((bench.link.*member)(argument));
  }
}

template <typename Result>
void convert(benchmark::State& state, Result (PlexumLink::*member)(const std::string&),
             const std::string& text) {
  Bench bench;
  for (auto _ : state) benchmark::DoNotOptimize((bench.link.*member)(text));
}

void fold(benchmark::State& state) {
  Bench bench;
  const std::string text(900, 'x');
  for (auto _ : state) benchmark::DoNotOptimize(bench.link.xor_str(text));
}

void word_of_bytes(benchmark::State& state) {
  Bench bench;
  for (auto _ : state) {
    std::string high = "212";
    std::string low = "49";
    benchmark::DoNotOptimize(bench.link.beyttoword(high, low));
  }
}

using Reading = Value (PlexumLink::*)(const std::string&, const std::string&, const std::string&,
                                      const std::string&, const std::string&);

void read(benchmark::State& state, Reading member, const std::string& type) {
  Bench bench;
  for (auto _ : state) {
    const Value value = (bench.link.*member)("1", "900", "0", type, "D");
    if (value.is_empty()) state.SkipWithError("no data");
  }
}

void write_double_word(benchmark::State& state) {
  Bench bench;
  for (auto _ : state) {
    std::string address = "0";
    std::string value = "4294967295";
    if (!bench.link.ag_WriteD("1", address, value, "D")) state.SkipWithError("not written");
  }
}

BENCHMARK_CAPTURE(convert, wordtobeyt, &PlexumLink::wordtobeyt, "54321");
BENCHMARK_CAPTURE(convert, wordtobeytadd, &PlexumLink::wordtobeytadd, "32760");
BENCHMARK_CAPTURE(convert, dwordtobeyt / small, &PlexumLink::dwordtobeyt, "70000");
BENCHMARK_CAPTURE(convert, dwordtobeyt / largest, &PlexumLink::dwordtobeyt, "4294967295");
BENCHMARK_CAPTURE(convert, flottobeyt, &PlexumLink::flottobeyt, "3.14159");
BENCHMARK(word_of_bytes)->Name("convert/beyttoword");
BENCHMARK(fold)->Name("convert/xor_str/900_characters");

BENCHMARK(write_double_word)->Name("ag_WriteD/largest");
BENCHMARK_CAPTURE(read, ag_ReadB / 900_bytes / C, &PlexumLink::ag_ReadB, "C");
BENCHMARK_CAPTURE(read, ag_ReadB / 900_bytes / B, &PlexumLink::ag_ReadB, "B");
BENCHMARK_CAPTURE(read, ag_ReadB / 900_bytes / W, &PlexumLink::ag_ReadB, "W");
BENCHMARK_CAPTURE(read, ag_ReadB / 900_bytes / I, &PlexumLink::ag_ReadB, "I");
BENCHMARK_CAPTURE(read, ag_ReadB / 900_bytes / X, &PlexumLink::ag_ReadB, "X");
BENCHMARK_CAPTURE(read, ag_Read / 900_bytes / B, &PlexumLink::ag_Read, "B");
BENCHMARK_CAPTURE(read, ag_Read / 900_bytes / W, &PlexumLink::ag_Read, "W");
BENCHMARK_CAPTURE(read, ag_Read / 900_bytes / I, &PlexumLink::ag_Read, "I");
BENCHMARK_CAPTURE(read, ag_Read / 900_bytes / D, &PlexumLink::ag_Read, "D");
BENCHMARK_CAPTURE(read, ag_Read / 900_bytes / F, &PlexumLink::ag_Read, "F");
BENCHMARK_CAPTURE(read, ag_Read / 900_bytes / X, &PlexumLink::ag_Read, "X");

}  // namespace
}  // namespace plexum::bench

BENCHMARK_MAIN();
