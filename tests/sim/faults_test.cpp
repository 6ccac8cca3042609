#include "sim/faults.h"

#include <gtest/gtest.h>

#include "tests/sim/scenario.h"

namespace plexum::sim {
namespace {

// A job whose answer is short: an unknown function. 19 bytes.
constexpr std::string_view kJob = "03 00 00 12 | 02 F0 80 | 32 01 00 00 12 34 00 01 00 00 | 77";
const std::string kAnswer = dump("03 00 00 13 02 F0 80 32 02 00 00 12 34 00 00 00 00 81 04");

TEST(Faults, StrikeTheTelegramsTheyName) {
  const std::string refusal = kAnswer.substr(0, 51);  // without class and code
  const struct {
    const char* fault;
    std::string first, second, third;
  } cases[] = {
      // clang-format off
      {"late=50@2",           kAnswer,                   "+50ms " + kAnswer,        kAnswer},
      {"length=4@1",          "03 00 00 13",             kAnswer,                   kAnswer},
      {"length=21@2-",        kAnswer,                   kAnswer + " 00 00",        kAnswer + " 00 00"},
      {"pieces=8@1", "03 00 00 13 02 F0 80 32 / +2ms 02 00 00 12 34 00 00 00 / +2ms 00 81 04", kAnswer, kAnswer},
      {"pieces=18:7@1", kAnswer.substr(0, 53) + " / +7ms 04", kAnswer, kAnswer},
      {"double@1-2",          kAnswer + " " + kAnswer,   kAnswer + " " + kAnswer,   kAnswer},
      {"silence@2",           kAnswer,                   "",                        kAnswer},
      {"close@2",             kAnswer,                   "close",                   ""},
      {"reset@3",             kAnswer,                   kAnswer,                   "reset"},
      {"then-close@1",        kAnswer + " close",        "",                        ""},
      {"then-reset@2",        kAnswer,                   kAnswer + " reset",        ""},
      {"job:error=D209@1",    refusal + "D2 09",         kAnswer,                   kAnswer},
      {"job:error=0x8500@1-", refusal + "85 00",         refusal + "85 00",         refusal + "85 00"},
      {"setup:silence",       kAnswer,                   kAnswer,                   kAnswer},
      // clang-format on
  };
  for (const auto& c : cases) {
    Conversation conversation;
    conversation.plc.faults.add(parse_fault(c.fault));
    for (const std::string& answer : {c.first, c.second, c.third}) {
      EXPECT_EQ(conversation.say(kJob), answer) << c.fault;
    }
  }
}

TEST(Faults, StrikeEachStepOfAConnection) {
  Plc plc({});
  plc.faults.add(parse_fault("confirm:length=21"));
  plc.faults.add(parse_fault("setup:error=8104"));
  ClientConnection connection(plc);
  EXPECT_EQ(text(connection.receive(hex(kConnectionRequest))),
            dump(kConnectionConfirm).substr(0, 62));
  EXPECT_EQ(text(connection.receive(hex(kSetup))),
            dump("03 00 00 13 02 F0 80 32 02 00 00 FF FF 00 00 00 00 81 04"));
  plc.faults.add(parse_fault("accept:close"));
  EXPECT_EQ(text(ClientConnection(plc).accepted()), "close");
}

TEST(Faults, ARefusedJobIsNotDone) {
  Conversation conversation;
  conversation.plc.faults.add(parse_fault("error=8500@1"));
  conversation.plc.faults.add(parse_fault("length=22@1"));
  const std::string answer = conversation.say(
      "03 00 00 24 02 F0 80 32 01 00 00 02 00 00 0E 00 05"
      "05 01 12 0A 10 02 00 01 00 00 83 00 00 00 00 04 00 08 7F");
  EXPECT_EQ(answer.size(), 22u * 3 - 1) << "faults work together";
  EXPECT_EQ((*conversation.plc.memory.find(Area::kFlags, 0))[0], 0);
}

TEST(Faults, TextsThatAreNone) {
  // clang-format off
  for (const char* text : {
           "", "unknown", "silence ", "step:silence", "job:",
           "late", "late=", "late=0", "late=-1", "late=1x", "late=3600001", "silence=1",
           "error", "error=0", "error=10000", "error=XY", "length=65537",
           "pieces=0", "pieces=1:", "pieces=1:x",
           "silence@", "silence@0", "silence@x", "silence@2-1", "silence@1-x",
           "accept:late=1", "confirm:error=8500",
       }) {
    // clang-format on
    EXPECT_THROW(parse_fault(text), std::invalid_argument) << text;
  }
}

}  // namespace
}  // namespace plexum::sim
