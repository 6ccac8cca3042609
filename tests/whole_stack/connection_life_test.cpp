// The life of a connection as one table: for every point at which the peer can stall, cut its
// answer, close or reset, the state variables that this leaves, and those after the next jobs.

#include <future>
#include <iterator>

#include "support/block_images.h"
#include "support/whole_stack.h"

namespace plexum::cli {
namespace {

constexpr std::uint8_t kData = 0x0A;
constexpr std::size_t kImage = 300;   // two parts
constexpr unsigned kDataBlock = 228;  // bytes, of which the PLC makes an image of 300

struct Job {
  enum Kind { kFixed, kOpen, kUpload, kDownload };  // kOpen: an answer of a length that isn't known

  const char* name;
  Kind kind;
  Value (*call)(PlexumLink&, sim::SimulatedPlc&);
  const char* done;
  const char* not_connected;  // what the job comes to when the peer has ended the connection before

  // The Tzeit by which the wait for the PLC's nth telegram lasts so many slices.
  std::int32_t tzeit(int telegram, std::int32_t slices) const {
    if (kind == kUpload && (telegram == 2 || telegram == 3)) return slices - 500;
    if (kind == kDownload && (telegram == 3 || telegram == 4)) return (slices + 59) / 60;
    if (kind == kDownload && telegram == 2) return slices + test::kShort;  // the PLC's own pause
    return slices;
  }
};

Value ini(PlexumLink& link, sim::SimulatedPlc& plc) {
  return link.ag_ini("127.0.0.1", std::to_string(plc.port()), "1.0", "3.2");
}
Value read(PlexumLink& link, sim::SimulatedPlc&) { return link.ag_Read("1", "4", "0", "B", "D"); }
Value read_b(PlexumLink& link, sim::SimulatedPlc&) {
  return link.ag_ReadB("1", "4", "0", "C", "D");
}
Value write(PlexumLink& link, sim::SimulatedPlc&) {
  std::string start = "8";
  return link.ag_WriteMB("1", start, "four", "D");
}
Value write_bit(PlexumLink& link, sim::SimulatedPlc&) {
  std::string start = "8";
  return link.ag_WriteX("1", start, "1", "D", "3");
}
Value stop(PlexumLink& link, sim::SimulatedPlc&) { return link.pg_plcstop(); }
Value erase(PlexumLink& link, sim::SimulatedPlc&) { return link.pg_plcErase(); }
Value run_mode(PlexumLink& link, sim::SimulatedPlc&) { return link.pg_plcRunMode(); }
Value lamps(PlexumLink& link, sim::SimulatedPlc&) { return link.pg_SZL(); }
Value list(PlexumLink& link, sim::SimulatedPlc&) { return link.pg_ListBlock("FC"); }
Value read_clock(PlexumLink& link, sim::SimulatedPlc&) { return link.pg_ReadClock(); }
Value set_clock(PlexumLink& link, sim::SimulatedPlc&) {
  return link.pg_SetClock("2026", "11", "22", "23", "05", "59", "12");
}
Value upload(PlexumLink& link, sim::SimulatedPlc&) { return link.pg_ReadBlock("DB", "00001"); }
Value download(PlexumLink& link, sim::SimulatedPlc&) {
  return link.pg_WriteBlock(test::block_image(kData, 2, kImage));
}

constexpr const char* kDone = "true, err 0, s7init";
constexpr const char* kSet = "empty, err 0, inuse, s7init";
constexpr const char* kNone = "empty, err 4";
// ag_ini connects anew whatever was; ag_ReadB alone leaves s7init as it stands.
constexpr Job kIni{"ag_ini", Job::kFixed, ini, kDone, kDone};
constexpr Job kRead{"ag_Read", Job::kFixed, read, "4 elements, err 0, s7init", kNone};
constexpr Job kReadB{"ag_ReadB", Job::kFixed, read_b, "4 bytes, err 0, s7init",
                     "empty, err 4, s7init"};
constexpr Job kWrite{"ag_WriteMB", Job::kFixed, write, kDone, "false, err 4"};
constexpr Job kBit{"ag_WriteX", Job::kFixed, write_bit, kDone, "false, err 4"};
constexpr Job kStop{"pg_plcstop", Job::kFixed, stop, kDone, kNone};
constexpr Job kErase{"pg_plcErase", Job::kFixed, erase, kDone, kNone};
constexpr Job kMode{"pg_plcRunMode", Job::kOpen, run_mode, "8 elements, err 0, s7init", kNone};
constexpr Job kLamps{"pg_SZL", Job::kOpen, lamps, "40 elements, err 0, s7init, box 69", kNone};
constexpr Job kList{"pg_ListBlock", Job::kOpen, list, "2 elements, err 0, s7init", kNone};
constexpr Job kClock{"pg_ReadClock", Job::kOpen, read_clock, "7 elements, err 0, s7init", kNone};
constexpr Job kSetClock{"pg_SetClock", Job::kOpen, set_clock, kSet, kNone};
constexpr Job kUp{"pg_ReadBlock", Job::kUpload, upload, "300 bytes, err 0, s7init", kNone};
constexpr Job kDown{"pg_WriteBlock", Job::kDownload, download, "empty, err 0, s7init", kNone};

// Taking the error bytes of so short an answer fails, and the job with it, where it stands.
constexpr const char* kRaised = "error 5, err 0, inuse, s7init";
constexpr const char* kRaisedIdle = "error 5, err 0, s7init";  // inuse ended with the first part
constexpr const char* kLost = "empty, err 3";
constexpr const char* kLostBit = "error 5, err 3";
constexpr const char* kOut = "error 9, err 3, 3 repeats";  // nothing to make an array of
constexpr const char* kUnset = "empty, err 0, 3 repeats";
constexpr const char* kNo = nullptr;  // can't be

struct Point {
  const Job& job;
  const char* step;
  int telegram;     // that the PLC sends, or would, counted from the beginning of the job
  unsigned length;  // that the job waits for
  // What comes of it when the telegram doesn't come, is cut to 18 bytes, comes short of one byte;
  // when the peer closes or resets instead of sending it, or behind it; when it is a refusal with
  // the error D2 09.
  const char *silent, *cut, *one_short, *ended, *ended_after, *refused;
};

const Point kPoints[] = {
    {kIni, "accept", 1, 0, "false, err 3", kNo, kNo, kNo, kNo, kNo},  // its end: below
    {kIni, "confirm", 1, 22, "false, err 3", "false, err 3", "false, err 3", "false, err 3",
     "false, err 0", kNo},
    {kIni, "setup", 2, 27, "false, err 0", "false, err 0", "false, err 0", "false, err 0", kDone,
     kNo},

    {kRead, "job", 1, 29, kRaised, kRaised, kLost, kLost, kRead.done, "empty, err 2109"},
    {kReadB, "job", 1, 29, kRaised, kRaised, kLost, kLost, kReadB.done, "empty, err 2109"},
    {kWrite, "job", 1, 22, kRaised, kRaised, kLostBit, kLostBit, kDone, "error 5, err 2109"},
    {kBit, "job", 1, 22, kLostBit, kLostBit, kLostBit, kLostBit, kDone, kLostBit},
    {kStop, "job", 1, 20, kRaised, kRaised, "false, err 3", "false, err 3", kDone,
     "false, err 2109"},
    // Answers of another form: they have 00 01 where errors stand in others, and a refusal has 33
    // bytes, enough for a done erase, a short list and a set clock.
    {kErase, "job", 1, 33, kRaised, kRaised, "false, err 1", "false, err 3", kDone, kDone},
    {kMode, "job", 1, 35, kRaised, kRaised, "error 9, err 1", "error 9, err 3", kMode.done,
     "error 9, err 1"},
    {kLamps, "job", 1, 35, kRaised, kRaised, "error 9, err 1, box 0", "error 9, err 3, box 0",
     kLamps.done, "error 9, err 1, box 0"},
    {kList, "job", 1, 25, kOut, kOut, kOut, kOut, kList.done, "1 elements, err 0, inuse, s7init"},
    {kClock, "job", 1, 43, kOut, kOut, kOut, kOut, kClock.done, kOut},
    {kSetClock, "job", 1, 33, kUnset, kUnset, kUnset, kUnset, kSet, kSet},

    // start upload, both parts, end upload; an answer short of one byte has the error 0
    {kUp, "job", 1, 25, kRaised, kRaised, "empty, err 0", kLost, kLost, "empty, err 2109"},
    {kUp, "job", 2, 25, kRaised, kRaised, "empty, err 0", kLost, "222 bytes, err 3",
     "empty, err 2109"},
    {kUp, "job", 3, 25, kRaised, kRaised, "222 bytes, err 0", "222 bytes, err 3",
     "300 bytes, err 3", "222 bytes, err 2109"},
    {kUp, "job", 4, 20, kRaised, kRaised, "300 bytes, err 0", "300 bytes, err 3", kUp.done,
     "300 bytes, err 2109"},

    // request download, the PLC's jobs for both parts and its last job, insert; of a part of a job
    // its function and status are taken for an error
    {kDown, "job", 1, 20, kRaised, "error 5, err 0, inuse, s7init, box 0",
     "empty, err 0, box 0, box 0", kLost, kLost, "empty, err 2109, box 210, box 9"},
    {kDown, "job", 2, 35, kRaised, kRaised, "empty, err 270", kLost, kLost, kNo},
    {kDown, "job", 3, 35, kRaisedIdle, kRaisedIdle, "empty, err 270", kLost, kLost, kNo},
    {kDown, "job", 4, 35, kRaisedIdle, kRaisedIdle, "empty, err 280", kLost, kLost, kNo},
    {kDown, "job", 5, 20, kRaisedIdle, kRaisedIdle, "empty, err 0", kLost, kDown.done,
     "empty, err 2109"},
};

// Whether one more job follows on the same connection. A transfer that was broken off is the PLC's
// to end, and the second answer may be on its way.
bool goes_on(const Job& job, const std::string& fault, const std::string& outcome) {
  if (outcome.find("s7init") == std::string::npos || fault == "double") return false;
  return fault.starts_with("then-") || job.kind < Job::kUpload;
}

std::string expected(const Job& job, const std::string& fault, const std::string& outcome) {
  std::string story = outcome + " | ";
  if (goes_on(job, fault, outcome)) {
    story += std::string(fault.starts_with("then-") ? job.not_connected : job.done) + " | ";
  }
  return story + job.done;
}

// A control, a PLC and a job.
class Life {
 public:
  explicit Life(const Job& job) : job_(job) {
    local_.environment.on_message_box = [this](const std::string& text) {
      boxes_ += ", box " + text;
    };
    connected_ = test::connect_anew(link_, plc_);
  }

  // The outcomes of the job that meets with the fault, of one more on the same connection if there
  // is any, and of one after connecting anew. Waits for what can't come last so many slices.
  std::string of(const Point& point, const std::string& fault, std::int32_t slices) {
    if (!connected_) return "not connected";
    const std::string step = point.step;
    plc_.add_fault(step == "job" ? fault + "@" + std::to_string(point.telegram) + "-"
                                 : step + ":" + fault);
    if (job_.kind == Job::kDownload && fault.starts_with("length=")) {  // else its own job follows
      plc_.add_fault("silence@" + std::to_string(point.telegram + 1) + "-");
    }
    const bool comes = fault.starts_with("then-");
    const int last = point.telegram + (comes ? 1 : 0);
    int waited_for = 0;
    const auto wait = [&](const std::string&) {
      if (++waited_for == last) link_.Tzeit(job_.tzeit(last, slices));
    };
    local_.watched.on_taken = wait;
    wait({});
    std::string story = outcome() + " | ";
    local_.watched.on_taken = [](const std::string&) {};
    if (goes_on(job_, fault, story)) {
      plc_.clear_faults();
      link_.Tzeit(test::kPatient);
      for (int i = 0; comes && i < test::kPatient && local_.watched.State() == kTcpConnected; ++i) {
        link_.MsgWait(1);
      }
      story += outcome() + " | ";
    }
    return story + (test::connect_anew(link_, plc_) ? outcome() : "not connected");
  }

 private:
  std::string outcome() {
    boxes_.clear();
    const std::string outcome = test::outcome_of(link_, [&] { return job_.call(link_, plc_); });
    const int repeats = link_.auftrag_Fehler();
    return outcome + (repeats == 0 ? "" : ", " + std::to_string(repeats) + " repeats") + boxes_;
  }

  const Job& job_;
  sim::SimulatedPlc plc_{[] {
    sim::Options options = test::on_a_free_port();
    options.data_blocks = {{1, kDataBlock}};
    options.download_pause = std::chrono::milliseconds(test::kShort);
    return options;
  }()};
  LocalLink local_;
  PlexumLink& link_ = local_.link;
  std::string boxes_;
  bool connected_ = false;
};

TEST(ConnectionLife, EveryPointLeavesItsState) {
  for (const Point& point : kPoints) {
    struct Case {
      std::string fault;
      const char* outcome;
    };
    const Case cases[] = {
        {"silence", point.silent},
        {"length=18", point.cut},
        {"length=" + std::to_string(point.length - 1), point.one_short},
        {"close", point.ended},
        {"reset", point.ended},
        {"then-close", point.ended_after},
        {"then-reset", point.ended_after},
        {"error=D209", point.refused},
    };
    std::future<std::string> stories[std::size(cases)];  // side by side, as they mostly wait
    for (std::size_t i = 0; i < std::size(cases); ++i) {
      if (cases[i].outcome == kNo) continue;
      stories[i] = std::async(std::launch::async, [&point, &fault = cases[i].fault] {
        return Life(point.job).of(point, fault, test::kShort);
      });
    }
    for (std::size_t i = 0; i < std::size(cases); ++i) {
      if (cases[i].outcome == kNo) continue;
      EXPECT_EQ(stories[i].get(), expected(point.job, cases[i].fault, cases[i].outcome))
          << point.job.name << ", " << point.step << " " << point.telegram << ", "
          << cases[i].fault;
    }
  }
}

TEST(ConnectionLife, AnAnswerThatComesLateInPiecesOrTwiceIsAnAnswer) {
  for (const Point& point : kPoints) {
    const Job& job = point.job;
    std::vector<std::string> faults;
    if (point.length != 0) faults = {"late=30"};
    if (point.length != 0 && job.kind == Job::kFixed) {
      faults = {"late=30", "pieces=1:1", &job == &kIni ? "length=60" : "double"};
    }
    for (const std::string& fault : faults) {
      EXPECT_EQ(Life(job).of(point, fault, test::kPatient), expected(job, fault, job.done))
          << job.name << ", " << point.step << " " << point.telegram << ", " << fault;
    }
  }
}

// Which step notices a connection that ends as it begins is a matter of microseconds.
TEST(ConnectionLife, AConnectionThatEndsAsItBegins) {
  for (const char* fault : {"accept:close", "accept:reset"}) {
    SCOPED_TRACE(fault);
    sim::SimulatedPlc plc(test::on_a_free_port());
    LocalLink local;
    plc.add_fault(fault);
    try {
      EXPECT_EQ(ini(local.link, plc), Value(false));
      EXPECT_TRUE(local.link.err() == 1 || local.link.err() == 3) << local.link.err();
    } catch (const RuntimeError& error) {
      EXPECT_EQ(error.number(), kTcpWrongState);
      EXPECT_EQ(local.link.status_text(), "Connect Send Data");
    }
    EXPECT_FALSE(local.link.s7init());
    EXPECT_TRUE(test::connect_anew(local.link, plc));
  }
}

}  // namespace
}  // namespace plexum::cli
