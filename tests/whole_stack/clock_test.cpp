// The clock through the control against the simulated PLC's, which runs by a hand of the test's.

#include <atomic>
#include <sstream>

#include "support/whole_stack.h"

namespace plexum {
namespace {

std::atomic<std::int64_t> now{1'000'000'000'000};  // milliseconds since 1970

class PlcClock : public test::WholeStack {
 protected:
  PlcClock() : WholeStack(options()) {}

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
  static sim::Options options() {
    sim::Options options;
    options.now = [] { return sim::Clock::TimePoint(std::chrono::milliseconds(now.load())); };
    return options;
  }
};

// The last text is three digits of milliseconds and the weekday, 1 for Sunday. What is sent as
// milliseconds 99 arrives as 999, because the first two digits go out twice.
TEST_F(PlcClock, RunsOnFromWhatWasSetAndKnowsTheWeekday) {
  struct Case {
    const char* what;
    const char* time;
    std::int64_t later;  // ms
    const char* shown;
  };
  const Case cases[] = {
      {"at once", "2026 11 22 23 05 59 12", 0, "2026 11 22 23 05 59 1211"},
      {"new century", "1999 12 31 23 59 59 99", 1, "2000 01 01 00 00 00 0007"},
      {"leap day", "2024 02 29 23 59 59 99", 2, "2024 03 01 00 00 00 0016"},
      {"common century", "2100 02 28 23 59 59 99", 1, "2100 03 01 00 00 00 0002"},
      {"hexadecimal forms", "2025 0x12 &H31 23 59 59 50", 500, "2026 01 01 00 00 00 0055"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(outcome_of([&] { return set(c.time); }), "empty, err 0, inuse, s7init");
    now += c.later;
    EXPECT_EQ(read(), c.shown);
    EXPECT_FALSE(link.inuse());
    // A refused time changes nothing, and nobody sees the refusal.
    EXPECT_EQ(outcome_of([&] { return set("2026 13 01"); }), "empty, err 0, inuse, s7init");
    EXPECT_EQ(read(), c.shown);
  }
}

}  // namespace
}  // namespace plexum
