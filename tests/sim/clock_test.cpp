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
    const char* read;
  };
  const Case cases[] = {
      // clang-format off
      {"as set",                   "00 20 10 07 08 12 30 45 12 12", 0ms,   "00 20 10 07 08 12 30 45 12 15"},
      {"within the second",        "00 20 10 07 08 12 30 45 12 12", 879ms, "00 20 10 07 08 12 30 46 00 05"},
      {"new century",              "00 19 99 12 31 23 59 59 00 00", 1s,    "00 20 00 01 01 00 00 00 00 07"},
      {"century 19 of any year",   "00 19 14 08 20 11 59 33 04 00", 50ms,  "00 19 14 08 20 11 59 33 09 04"},
      {"a century of its own",     "00 10 00 01 01 00 00 00 00 00", 0ms,   "00 10 00 01 01 00 00 00 00 04"},
      // clang-format on
  };
  for (const Case& c : cases) {
    Clock::TimePoint now{sys_days(2026y / 1 / 1)};
    Clock clock([&now] { return now; });
    EXPECT_TRUE(clock.set(hex(c.set))) << c.name;
    now += c.passed;
    EXPECT_EQ(dump(clock.block()), c.read) << c.name;
  }
}

TEST(Clock, IsReadAndSetByItsJobs) {
  Options options;
  options.now = [] { return Clock::TimePoint(sys_days(2026y / 1 / 1)); };
  Conversation conversation(options);
  const auto read = [&] {
    return conversation.say(
        "03 00 00 1D 02 F0 80 32 07 00 00 00 0D 00 08 00 04 00 01 12 04 11 47 01 00 0A 00 00 00");
  };
  EXPECT_EQ(conversation.say("03 00 00 27 02 F0 80 32 07 00 00 00 0C 00 08 00 0E |"
                             "00 01 12 04 11 47 02 00 FF 09 00 0A 00 20 10 07 08 12 30 45 12 12"),
            dump("03 00 00 21 02 F0 80 32 07 00 00 00 0C 00 0C 00 04 |"
                 "00 01 12 08 12 87 02 01 00 00 00 00 0A 00 00 00"));
  const std::string as_set = dump(
      "03 00 00 2B 02 F0 80 32 07 00 00 00 0D 00 0C 00 0E |"
      "00 01 12 08 12 87 01 01 00 00 00 00 FF 09 00 0A 00 20 10 07 08 12 30 45 12 15");
  EXPECT_EQ(read(), as_set);

  for (const std::string time : {"00 20 26 00 01 00 00 00 00 00", "00 20 26 02 29 00 00 00 00 00",
                                 "00 20 26 01 01 24 00 00 00 00", "00 20 26 01 01 00 60 00 00 00",
                                 "00 20 26 01 01 00 00 60 00 00", "00 20 2A 01 01 00 00 00 00 00",
                                 "00 20 26 01 01 00 00 00 00 A0", "00 20 26 01 01 00 00 00 00"}) {
    EXPECT_EQ(conversation.userdata("00 01 12 04 11 47 02 00", "FF 09 00 0A" + time),
              "00 01 12 08 12 87 02 00 00 00 D2 02 | 0A 00 00 00")
        << time;
    EXPECT_EQ(read(), as_set) << time;
  }
}

}  // namespace
}  // namespace plexum::sim
