#include "sim/program.h"

#include <gtest/gtest.h>

#include "tests/sim/scenario.h"

namespace plexum::sim {
namespace {

using namespace std::chrono_literals;

TEST(Program, ChangesItsValuesWhileThePlcRuns) {
  Clock::TimePoint now{std::chrono::sys_days(2026y / 1 / 1)};
  Options options;
  options.now = [&now] { return now; };
  const std::string read = "04 01 12 0A 10 02 00 0B 00 00 83 00 03 20";
  EXPECT_EQ(Conversation(options).ask(read).substr(20), "00 00 00 00 00 00 00 00 00 00 00");

  options.runs_program = true;
  Conversation conversation(options);
  const struct {
    std::string job;
    std::chrono::milliseconds passed;
    std::string values;
  } steps[] = {
      {"", 0ms, "00 00 00 00 00 00 00 00 00 00 01"},
      {"", 5500ms, "00 05 00 00 42 C5 89 A5 00 37 00"},  // a little behind the sine's top
      {"29 00 00 00 00 00 09 'P_PROGRAM'", 1s, "00 05 00 00 42 C5 89 A5 00 37 00"},
      {"28 00 00 00 00 00 00 FD 00 00 09 'P_PROGRAM'", 1s, "00 01 00 00"},  // begins anew
  };
  for (const auto& step : steps) {
    if (!step.job.empty()) conversation.ask(step.job);
    now += step.passed;
    EXPECT_EQ(conversation.ask(read).substr(20, step.values.size()), step.values);
  }
}

}  // namespace
}  // namespace plexum::sim
