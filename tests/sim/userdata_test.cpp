#include "sim/userdata.h"

#include <gtest/gtest.h>

#include "tests/sim/scenario.h"

namespace plexum::sim {
namespace {

// The 20th of August 2014, a Wednesday, 12:05:28.349.
Options at_a_known_time() {
  Options options;
  options.now = [] {
    using namespace std::chrono_literals;
    return Clock::TimePoint(std::chrono::sys_days(2014y / 8 / 20) + 12h + 5min + 28s + 349ms);
  };
  return options;
}

// List id and index; then the list's length in bytes, list id and index, record length, records.
TEST(StateLists, HaveTheFormOfACpu) {
  const std::string ask = "00 01 12 04 11 44 01 00 | FF 09 00 04 ";
  const std::string answer = "00 01 12 08 12 84 01 01 00 00 00 00 | FF 09 ";
  const std::string refusal = "00 01 12 08 12 84 01 00 00 00 ";
  const Exchange exchanges[] = {
      // clang-format off
      {"running",          ask + "04 24 00 00", answer + "00 1C 04 24 00 00 00 14 00 01 51 44 FF 08 00 00 00 00 00 00 00 00 14 08 20 12 05 28 34 94"},
      {"lamps",            ask + "00 19 00 00", answer + "00 24 00 19 00 00 00 04 00 07 00 01 00 00 00 04 01 00 00 05 00 00 00 06 00 00 00 0B 00 00 00 0C 00 00 00 15 00 00"},
      {"all lists",        ask + "00 00 00 00", answer + "00 26 00 00 00 00 00 02 00 0F 00 00 00 11 ..."},
      {"modules",          ask + "00 11 00 00", answer + "00 78 00 11 00 00 00 1C 00 04 00 01 '6ES7' ..."},
      {"one module",       ask + "01 11 00 07", answer + "00 24 01 11 00 07 00 1C 00 01 00 07 20 20 ..."},
      {"the head alone",   ask + "0F 11 00 00", answer + "00 08 0F 11 00 00 00 1C 00 04"},
      {"one lamp",         ask + "01 19 00 04", answer + "00 0C 01 19 00 04 00 04 00 01 00 04 01 00"},
      {"abilities",        ask + "01 31 00 01", answer + "00 30 01 31 00 01 00 28 00 01 00 01 00 F0 00 40 ..."},
      {"protection",       ask + "01 32 00 04", answer + "00 30 01 32 00 04 00 28 00 01 00 04 00 01 00 00 00 01 00 02 ..."},
      {"stop",             "29 00 00 00 00 00 09 'P_PROGRAM'", "29 |"},
      {"stopped",          ask + "04 24 00 00", answer + "00 1C 04 24 00 00 00 14 00 01 43 04 FF 04 ..."},
      {"no such list",     ask + "0C 91 7F FF", refusal + "D4 01 | 0A 00 00 00"},
      {"no such index",    ask + "01 31 00 63", refusal + "D4 02 | 0A 00 00 00"},
      {"a short request",  ask + "04 24 00",    refusal + "85 00 | 0A 00 00 00"},
      {"unknown function", "00 01 12 04 11 44 77 00 | 0A 00 00 00", "00 01 12 08 12 84 77 00 00 00 81 04 | 0A 00 00 00"},
      // clang-format on
  };
  Conversation conversation(at_a_known_time());
  conversation.expect(exchanges);
  EXPECT_EQ(conversation.ask("00 01 12 08 12 84 01 01 00 00 00 00 | 0A 00 00 00"), "")
      << "an answer isn't answered";
}

// What is longer than the PDU comes in parts: the sequence number names the answer in the requests
// for the others, the data unit reference in the parts.
TEST(Userdata, SplitsWhatIsLongerThanThePdu) {
  const std::string begin = "00 01 12 04 11 44 01 00 | FF 09 00 04 00 1C 00 00";
  const std::string next = "00 01 12 08 12 44 01 01 00 00 00 00 | 0A 00 00 00";
  const std::string refused = "00 01 12 08 12 84 01 00 00 00 85 00 | 0A 00 00 00";
  const Exchange exchanges[] = {
      // clang-format off
      {"first part",        begin, "00 01 12 08 12 84 01 01 01 01 00 00 | FF 09 00 D6 00 1C 00 00 00 22 00 0A 00 01 ..."},
      {"second part",       next,  "00 01 12 08 12 84 01 01 01 00 00 00 | FF 09 00 86 ..."},
      {"no third part",     next,  refused},
      {"another reference", begin, "00 01 12 08 12 84 01 01 02 01 00 00 | FF 09 00 D6 ..."},
      {"a job between",     "00 01 12 04 11 44 01 00 | FF 09 00 04 0F 11 00 00", "00 01 12 08 12 84 01 01 00 00 00 00 | FF 09 00 08 ..."},
      {"ends it",           next,  refused},
      {"again",             begin, "00 01 12 08 12 84 01 01 03 01 00 00 | FF 09 00 D6 ..."},
      {"another sequence",  "00 01 12 08 12 44 01 02 00 00 00 00 | 0A 00 00 00", refused},
      // clang-format on
  };
  Conversation().expect(exchanges);
}

TEST(Userdata, TakesTheMessageServiceThatDeclaresTooLittle) {
  Conversation conversation;
  EXPECT_EQ(conversation.say("03 00 00 27 02 F0 80 32 07 00 00 0C 00 00 08 00 0C |"
                             "00 01 12 04 12 44 02 00 | FF 09 00 0A 00 00 'asmess' 00 00"),
            dump("03 00 00 23 02 F0 80 32 07 00 00 0C 00 00 0C 00 06 |"
                 "00 01 12 08 12 84 02 01 00 00 00 00 | FF 09 00 02 02 00"));
  EXPECT_EQ(conversation.say(kRead), kReadAnswer) << "the two bytes behind it belong to nothing";
}

}  // namespace
}  // namespace plexum::sim
