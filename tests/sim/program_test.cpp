#include "sim/program.h"

#include <gtest/gtest.h>

#include "tests/sim/scenario.h"

namespace plexum::sim {
namespace {

using namespace std::chrono_literals;

constexpr std::string_view kReadValues = "04 01 12 0A 10 02 00 0B 00 00 83 00 03 20";

TEST(Program, ChangesItsValuesWhileThePlcRuns) {
  Conversation without;
  EXPECT_EQ(without.job(kReadValues).substr(20), "00 00 00 00 00 00 00 00 00 00 00");

  Clock::TimePoint now{std::chrono::sys_days(2026y / 1 / 1)};
  Options options;
  options.runs_program = true;
  options.now = [&now] { return now; };
  Conversation conversation(options);
  const auto values = [&] { return conversation.job(kReadValues).substr(20); };

  EXPECT_EQ(values(), "00 00 00 00 00 00 00 00 00 00 01");
  now += 5500ms;  // a little behind the sine's top
  EXPECT_EQ(values(), "00 05 00 00 42 C5 89 A5 00 37 00");
  conversation.job("29 00 00 00 00 00 09 'P_PROGRAM'");
  now += 1s;
  EXPECT_EQ(values(), "00 05 00 00 42 C5 89 A5 00 37 00") << "stopped";
  conversation.job("28 00 00 00 00 00 00 FD 00 00 09 'P_PROGRAM'");
  now += 1s;
  EXPECT_EQ(values().substr(0, 5), "00 01") << "begins anew";
}

}  // namespace
}  // namespace plexum::sim
