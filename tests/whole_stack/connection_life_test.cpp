// The life of a connection over real sockets: for the peer's silence and its end at every kind of
// job, what this leaves in the control, what comes of the next job on that connection, and that the
// first one after connecting anew is good. What each single job makes of its first answer stands in
// request_cycle_test, the later telegrams of transfers in upload_test and download_test.

#include "support/block_images.h"
#include "support/whole_stack.h"

namespace plexum {
namespace {

using test::kPatient;
using test::kShort;

class ConnectionLife : public test::WholeStack {
 protected:
  ConnectionLife() : WholeStack(options()) {}

  struct Point {
    std::string name;
    const char* step;  // of the connection, as a fault's text names it
    int telegram;      // that the PLC sends, or would, counted from the beginning of the job
    bool exact;        // the job waits for an answer of one length
    std::function<Value()> job;
    const char* done;
    // What comes of it when the telegram doesn't come, when the connection is closed or reset
    // instead of it or right behind it, and of the same job once more after that.
    const char *silent, *ended, *ended_after, *next;
  };

  [[nodiscard]] std::vector<Point> points() {
    constexpr const char* kDone = "true, err 0, s7init";
    constexpr const char* kSet = "empty, err 0, inuse, s7init";
    constexpr const char* kNone = "empty, err 4";
    // Taking the error bytes of no answer fails, and the job with it, where it stands.
    constexpr const char* kRaised = "error 5, err 0, inuse, s7init";
    constexpr const char* kLost = "empty, err 3";
    constexpr const char* kLostBit = "error 5, err 3";
    constexpr const char* kOut = "error 9, err 3, 3 repeats";  // nothing to make an array of
    constexpr const char* kUnset = "empty, err 0, 3 repeats";
    const auto ini = [this]() -> Value {
      return link.ag_ini("127.0.0.1", std::to_string(plc.port()), "1.0", "3.2");
    };
    const auto read = [this] { return link.ag_Read("1", "4", "0", "B", "D"); };
    const auto read_b = [this] { return link.ag_ReadB("1", "4", "0", "C", "D"); };
    const auto write = [this, start = std::string("8")]() mutable {
      return link.ag_WriteMB("1", start = "8", "four", "D");
    };
    const auto write_bit = [this, start = std::string("8")]() mutable -> Value {
      return link.ag_WriteX("1", start = "8", "1", "D", "3");
    };
    const auto stop = [this] { return link.pg_plcstop(); };
    const auto lamps = [this] { return link.pg_SZL(); };
    const auto list = [this] { return link.pg_ListBlock("FC"); };
    const auto set_clock = [this] {
      return link.pg_SetClock("2026", "11", "22", "23", "05", "59", "12");
    };
    const auto upload = [this] { return link.pg_ReadBlock("DB", "00001"); };
    const auto download = [this] { return link.pg_WriteBlock(test::block_image(0x0A, 2, 300)); };
    return {
        // clang-format off
        // name, step, telegram, exact, job, done,
        //   silent, ended, ended_after, next
        {"ag_ini", "confirm:", 1, true, ini, kDone,
         "false, err 3", "false, err 3", "false, err 0", ""},
        {"ag_ini", "setup:", 2, true, ini, kDone,
         "false, err 0", "false, err 0", kDone, kDone},
        {"ag_Read", "job:", 1, true, read, "numbers, err 0, s7init",
         kRaised, kLost, "numbers, err 0, s7init", kNone},
        {"ag_ReadB", "job:", 1, true, read_b, "4 bytes, err 0, s7init",
         kRaised, kLost, "4 bytes, err 0, s7init", "empty, err 4, s7init"},
        {"ag_WriteMB", "job:", 1, true, write, kDone,
         kRaised, kLostBit, kDone, "false, err 4"},
        {"ag_WriteX", "job:", 1, true, write_bit, kDone,
         kLostBit, kLostBit, kDone, "false, err 4"},
        {"pg_plcstop", "job:", 1, true, stop, kDone,
         kRaised, "false, err 3", kDone, kNone},
        {"pg_SZL", "job:", 1, false, lamps, "40 elements, err 0, s7init, box 69",
         kRaised, "error 9, err 3, box 0", "40 elements, err 0, s7init, box 69", kNone},
        {"pg_ListBlock", "job:", 1, false, list, "2 elements, err 0, s7init",
         kOut, kOut, "2 elements, err 0, s7init", kNone},
        {"pg_SetClock", "job:", 1, false, set_clock, kSet,
         kUnset, kUnset, kSet, kNone},
        // Of an image in two parts, the second.
        {"pg_ReadBlock", "job:", 3, false, upload, "300 bytes, err 0, s7init",
         kRaised, "222 bytes, err 3", "300 bytes, err 3", ""},
        {"pg_WriteBlock", "job:", 1, false, download, "empty, err 0, s7init",
         kRaised, kLost, kLost, ""},
        // clang-format on
    };
  }

  void add_fault(const Point& point, const std::string& fault) {
    const bool job = point.step == std::string("job:");
    plc.add_fault(point.step + fault + (job ? "@" + std::to_string(point.telegram) + "-" : ""));
  }

  // Lets the job's waits be short from the PLC's nth telegram on, which doesn't come.
  void be_patient_until(int telegram) {
    local.watched.on_taken = [this, telegram, taken = 0](const std::string&) mutable {
      if (++taken == telegram) link.Tzeit(kShort);
    };
    local.watched.on_taken({});
  }

 private:
  static sim::Options options() {
    sim::Options options;
    options.data_blocks = {{1, 228}};  // of which the PLC makes an image of 300 bytes
    options.download_pause = std::chrono::milliseconds(60);
    return options;
  }
};

TEST_F(ConnectionLife, EveryPointLeavesItsState) {
  for (const Point& point : points()) {
    const struct {
      std::string fault;
      bool comes;  // the telegram, before the connection ends
      const char *outcome, *next;
    } cases[] = {
        {"silence", false, point.silent, point.telegram > 1 ? "" : point.done},
        {"close", false, point.ended, ""},
        {"reset", false, point.ended, ""},
        {"then-close", true, point.ended_after, point.next},
        {"then-reset", true, point.ended_after, point.next},
    };
    for (const auto& c : cases) {
      SCOPED_TRACE(point.name + ", " + point.step + c.fault);
      ASSERT_TRUE(connect_anew());
      add_fault(point, c.fault);
      be_patient_until(point.telegram + (c.comes ? 1 : 0));
      EXPECT_EQ(outcome_of(point.job), c.outcome);
      local.watched.on_taken = [](const std::string&) {};
      if (link.s7init() && *c.next != '\0') {
        plc.clear_faults();
        link.Tzeit(kPatient);
        for (int i = 0; c.comes && i < kPatient && local.watched.State() == kTcpConnected; ++i) {
          link.MsgWait(1);
        }
        EXPECT_EQ(outcome_of(point.job), c.next) << "the next job";
      }
      ASSERT_TRUE(connect_anew());
      EXPECT_EQ(outcome_of(point.job), point.done);
    }
  }
}

TEST_F(ConnectionLife, AnAnswerThatComesLateInPiecesOrTwiceIsAnAnswer) {
  for (const Point& point : points()) {
    for (const char* fault : {"late=30", "pieces=1:1", "double"}) {
      if (fault != std::string("late=30") && !point.exact) continue;
      if (fault == std::string("double") && point.step == std::string("confirm:")) continue;
      SCOPED_TRACE(point.name + ", " + point.step + fault);
      ASSERT_TRUE(connect_anew());
      add_fault(point, fault);
      EXPECT_EQ(outcome_of(point.job), point.done);
    }
  }
}

}  // namespace
}  // namespace plexum
