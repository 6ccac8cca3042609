// The clock through the control against the simulated PLC's, which runs by a hand of the test's.

#include <atomic>
#include <cstdint>
#include <sstream>

#include "support/whole_stack.h"

namespace plexum::cli {
namespace {

using test::outcome_of;

class WholeStackClock : public testing::Test {
 protected:
  std::atomic<std::int64_t> now{1'000'000'000'000};  // milliseconds since 1970
  sim::SimulatedPlc plc{options()};
  LocalLink local{test::capture_path(
      std::string("clock_") + testing::UnitTest::GetInstance()->current_test_info()->name())};
  PlexumLink& link = local.link;

  WholeStackClock() { EXPECT_TRUE(test::connect_anew(link, plc)); }

  // Sets it to texts with blanks between them, as "2026 11 22 23 05 59 99".
  Value set(const std::string& time) {
    std::istringstream words(time);
    std::string field[7];
    for (std::string& text : field) words >> text;
    return link.pg_SetClock(field[0], field[1], field[2], field[3], field[4], field[5], field[6]);
  }
  std::string read() {
    const Value clock = link.pg_ReadClock();
    std::string texts;
    for (const Value& text : std::get<VariantArray>(clock).elements) {
      texts += (texts.empty() ? "" : " ") + std::get<std::string>(text);
    }
    return texts;
  }

 private:
  sim::Options options() {
    sim::Options options = test::on_a_free_port();
    options.now = [this] { return sim::Clock::TimePoint(std::chrono::milliseconds(now.load())); };
    return options;
  }
};

// The last text is three digits of milliseconds and the weekday, 1 for Sunday. What is sent as
// milliseconds 99 arrives as 999, because the first two digits go out twice.
TEST_F(WholeStackClock, RunsOnFromWhatWasSetAndKnowsTheWeekday) {
  constexpr std::int64_t kDay = 86'400'000;
  struct Case {
    const char* what;
    const char* time;
    std::int64_t later;  // ms
    const char* shown;
  };
  const Case cases[] = {
      {"at once", "2026 11 22 23 05 59 12", 0, "2026 11 22 23 05 59 1211"},
      {"midnight", "2026 11 22 23 59 59 99", 1, "2026 11 23 00 00 00 0002"},
      {"month", "2026 04 30 23 59 59 99", 1, "2026 05 01 00 00 00 0006"},
      {"year", "1999 12 31 23 59 59 99", 1, "2000 01 01 00 00 00 0007"},
      {"leap year", "2024 02 28 12 00 00 00", kDay, "2024 02 29 12 00 00 0005"},
      {"leap day", "2024 02 29 23 59 59 99", 2, "2024 03 01 00 00 00 0016"},
      {"common year", "2023 02 28 12 00 00 00", kDay, "2023 03 01 12 00 00 0004"},
      {"leap century", "2000 02 28 23 59 59 99", 1, "2000 02 29 00 00 00 0003"},
      {"common century", "2100 02 28 23 59 59 99", 1, "2100 03 01 00 00 00 0002"},
      {"hexadecimal forms", "2025 0x12 &H31 23 59 59 50", 500, "2026 01 01 00 00 00 0055"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(set(c.time), Value());
    EXPECT_EQ(link.err(), 0);
    EXPECT_TRUE(link.inuse()) << "as it is after setting";
    now += c.later;
    EXPECT_EQ(read(), c.shown);
    EXPECT_FALSE(link.inuse());
  }
}

TEST_F(WholeStackClock, ARefusedTimeChangesNothingAndIsNotSeen) {
  set("2026 11 22 12 00 00 00");
  for (const char* time : {"2026 13 01 00 00 00 00", "2023 02 29 00 00 00 00",
                           "2026 01 01 24 00 00 00", "2026 0A 01 00 00 00 00"}) {
    EXPECT_EQ(outcome_of(link, [&] { return set(time); }), "empty, err 0, inuse, s7init") << time;
    EXPECT_EQ(read(), "2026 11 22 12 00 00 0001") << time;
  }
}

// A request is repeated up to twice. What comes then is good, but s7init is gone.
TEST_F(WholeStackClock, Faults) {
  for (const auto& [fault, repeats] : {std::pair{"silence@1", 1}, {"length=24@1-2", 2}}) {
    for (const bool reading : {true, false}) {
      SCOPED_TRACE(fault);
      ASSERT_TRUE(test::connect_anew(link, plc));
      plc.add_fault(std::string(fault));
      link.Tzeit(test::kShort);
      EXPECT_EQ(outcome_of(link, [&] { return reading ? link.pg_ReadClock() : set("2026 1 1"); }),
                reading ? "7 elements, err 0" : "empty, err 0");
      EXPECT_EQ(link.auftrag_Fehler(), repeats);
    }
  }
}

}  // namespace
}  // namespace plexum::cli
