// The services, state lists and clock through the control against the simulated PLC: what they
// bring about in the PLC.

#include <atomic>

#include "support/whole_stack.h"

namespace plexum {
namespace {

using test::kShort;

// What the PLC's clock runs by.
std::atomic<std::chrono::milliseconds> now{};

class Services : public test::WholeStack {
 protected:
  explicit Services(bool write_protected = false) : WholeStack(options(write_protected)) {}

  // The low byte of the last transition's event, least significant bit first: 5144, runs, or 4304,
  // stopped by a programming device.
  static constexpr const char* kRuns = "00100010";
  static constexpr const char* kStands = "00100000";

  std::string run_mode() {
    std::string bits;
    const Value mode = link.pg_plcRunMode();
    for (const Value& bit : std::get<VariantArray>(mode).elements) {
      bits += std::get<std::string>(bit);
    }
    return bits;
  }

  // The state of the lamps RUN and STOP, in the answer that pg_SZL hands over: data header (4
  // bytes), list id, index, length of a record and their number (2 each), then for each of the
  // lamps 2, 3 ...: lamp (2), on, blinking.
  std::string lamps() {
    const Value list = link.pg_SZL();
    const std::vector<Value>& list_bytes = std::get<VariantArray>(list).elements;
    std::string shining;
    for (std::size_t record = 12; record + 4 <= list_bytes.size(); record += 4) {
      const auto lamp = std::get<std::int16_t>(list_bytes[record + 1]);
      if (std::get<std::int16_t>(list_bytes[record + 2]) == 0) continue;
      shining += lamp == 4 ? "RUN" : lamp == 5 ? "STOP" : "";
    }
    return shining;
  }

  std::string clock() {
    const Value clock = link.pg_ReadClock();
    std::string texts;
    for (const Value& text : std::get<VariantArray>(clock).elements) {
      texts += std::get<std::string>(text) + " ";
    }
    return texts;
  }

 private:
  static sim::Options options(bool write_protected) {
    sim::Options options;
    options.write_protected = write_protected;
    options.now = [] { return sim::Clock::TimePoint(now.load()); };
    return options;
  }
};

TEST_F(Services, DoWhatTheySay) {
  EXPECT_EQ(run_mode() + lamps(), std::string(kRuns) + "RUN");
  EXPECT_EQ(link.pg_plcstop(), Value(true));
  EXPECT_EQ(run_mode() + lamps(), std::string(kStands) + "STOP");
  EXPECT_EQ(link.pg_plcstop(), Value(true)) << "a PLC that stands stays so";
  EXPECT_EQ(link.pg_plcstart(), Value(true));
  EXPECT_EQ(run_mode(), kRuns);
  EXPECT_EQ(link.pg_plccompress(), Value(true));
  EXPECT_EQ(plc.access([](sim::Plc& inside) { return inside.compressions; }), 1u);
  EXPECT_EQ(link.pg_plcErase(), Value(true));
  EXPECT_EQ(run_mode(), kStands);
  EXPECT_TRUE(plc.access([](sim::Plc& inside) {
    return inside.memory.data_blocks().empty() &&
           inside.blocks.list(sim::BlockType::kOrganisation).empty();
  }));
  EXPECT_EQ(link.err(), 0);
}

// Its telegram is two bytes shorter than its TPKT length: whoever waits for these never answers,
// and whoever takes them off the next telegram loses that one.
TEST_F(Services, AfterACopyToRomTheNextJobIsAnswered) {
  for (unsigned copies = 1; copies <= 3; ++copies) {
    EXPECT_EQ(link.pg_Ramtorom(), Value(true));
    EXPECT_EQ(plc.access([](sim::Plc& inside) { return inside.copies_to_rom; }), copies);
    EXPECT_EQ(link.ag_ReadB("1", "4", "0", "C", "D"), Value(std::string("\0\1\2\3", 4)));
  }
}

// The last text is three digits of milliseconds and the weekday, 1 for Sunday. What is sent as
// milliseconds 99 arrives as 999, because the first two digits go out twice.
TEST_F(Services, TheClockRunsOnFromWhatWasSet) {
  EXPECT_EQ(
      outcome_of([&] { return link.pg_SetClock("1999", "0x12", "&H31", "23", "59", "59", "99"); }),
      "empty, err 0, inuse, s7init");
  EXPECT_EQ(clock(), "1999 12 31 23 59 59 9996 ");
  now = std::chrono::milliseconds(1);
  EXPECT_EQ(clock(), "2000 01 01 00 00 00 0007 ");
  EXPECT_EQ(outcome_of([&] { return link.pg_SetClock("2023", "2", "29", "0", "0", "0", "0"); }),
            "empty, err 0, inuse, s7init")
      << "nobody sees the refusal";
  EXPECT_EQ(clock(), "2000 01 01 00 00 00 0007 ");
}

class ProtectedPlc : public Services {
 protected:
  ProtectedPlc() : Services(true) {}
};

TEST_F(ProtectedPlc, RefusesItsServices) {
  const struct {
    std::function<Value()> service;
    const char* outcome;
  } cases[] = {
      {[&] { return link.pg_plcstop(); }, "false, err 21065"},
      {[&] { return link.pg_plcstart(); }, "false, err 21065"},
      {[&] { return link.pg_Ramtorom(); }, "false, err 21065"},
      {[&] { return link.pg_plccompress(); }, "false, err 21065"},
      {[&] { return link.pg_DelBlock("DB", "00001"); }, "false, err 21065"},
      // The refused erase is an answer of full length, at which nobody looks.
      {[&] { return link.pg_plcErase(); }, "true, err 0, s7init"},
      {[&] { return link.pg_ReadBlock("OB", "00001"); }, "empty, err 21065"},
      {[&] { return link.ag_WriteB("1", "0", "x", "D"); }, "false, err 3, s7init"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    ASSERT_TRUE(connect_anew());
    link.Tzeit(kShort);
    EXPECT_EQ(outcome_of(c.service), c.outcome);
  }
  ASSERT_TRUE(connect_anew());
  EXPECT_EQ(run_mode(), kRuns);
  EXPECT_EQ(link.ag_ReadB("1", "4", "0", "C", "D"), Value(std::string("\0\1\2\3", 4)));
}

}  // namespace
}  // namespace plexum
