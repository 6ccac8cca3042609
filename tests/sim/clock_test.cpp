#include "sim/clock.h"

#include <gtest/gtest.h>

#include "tests/sim/scenario.h"

namespace plexum::sim {
namespace {

using namespace std::chrono_literals;
using std::chrono::milliseconds;
using std::chrono::sys_days;

TEST(Clock, RunsFromWhatItWasSetToAndKnowsTheWeekday) {
  struct Case {
    const char* name;
    const char* set;  // 0, century, year, month, day, hour, minute, second, milliseconds, weekday
    milliseconds passed;
    const char* read;  // empty: it isn't set
  };
  const Case cases[] = {
      // clang-format off
      {"as set",                   "00 20 10 07 08 12 30 45 12 12", 0ms,   "00 20 10 07 08 12 30 45 12 15"},
      {"within the second",        "00 20 10 07 08 12 30 45 12 12", 879ms, "00 20 10 07 08 12 30 46 00 05"},
      {"new century",              "00 19 99 12 31 23 59 59 00 00", 1s,    "00 20 00 01 01 00 00 00 00 07"},
      {"century 19 of any year",   "00 19 14 08 20 11 59 33 04 00", 50ms,  "00 19 14 08 20 11 59 33 09 04"},
      {"a century of its own",     "00 10 00 01 01 00 00 00 00 00", 0ms,   "00 10 00 01 01 00 00 00 00 04"},
      {"month 0",                  "00 20 26 00 01 00 00 00 00 00", 0ms, ""},
      {"29 February 2026",         "00 20 26 02 29 00 00 00 00 00", 0ms, ""},
      {"hour 24",                  "00 20 26 01 01 24 00 00 00 00", 0ms, ""},
      {"minute 60",                "00 20 26 01 01 00 60 00 00 00", 0ms, ""},
      {"second 60",                "00 20 26 01 01 00 00 60 00 00", 0ms, ""},
      {"year 2A",                  "00 20 2A 01 01 00 00 00 00 00", 0ms, ""},
      {"milliseconds 00A",         "00 20 26 01 01 00 00 00 00 A0", 0ms, ""},
      {"9 bytes",                  "00 20 26 01 01 00 00 00 00",    0ms, ""},
      // clang-format on
  };
  for (const Case& c : cases) {
    Clock::TimePoint now{sys_days(2026y / 1 / 1)};
    Clock clock([&now] { return now; });
    const bool sets = *c.read != '\0';
    EXPECT_EQ(clock.set(hex(c.set)), sets) << c.name;
    now += c.passed;
    EXPECT_EQ(dump(clock.block()), sets ? c.read : "00 20 26 01 01 00 00 00 00 05") << c.name;
  }
}

TEST(Clock, IsReadAndSetByItsJobs) {
  Options options;
  options.now = [] { return Clock::TimePoint(sys_days(2026y / 1 / 1)); };
  const Exchange exchanges[] = {
      // clang-format off
      {"set",   "00 01 12 04 11 47 02 00 | FF 09 00 0A 00 20 10 07 08 12 30 45 12 12", "00 01 12 08 12 87 02 01 00 00 00 00 | 0A 00 00 00"},
      {"wrong", "00 01 12 04 11 47 02 00 | FF 09 00 0A 00 20 26 00 01 00 00 00 00 00", "00 01 12 08 12 87 02 00 00 00 D2 02 | 0A 00 00 00"},
      {"read",  "00 01 12 04 11 47 01 00 | 0A 00 00 00", "00 01 12 08 12 87 01 01 00 00 00 00 | FF 09 00 0A 00 20 10 07 08 12 30 45 12 15"},
      // clang-format on
  };
  Conversation(options).expect(exchanges);
}

}  // namespace
}  // namespace plexum::sim
