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

std::string state_list(Conversation& conversation, std::string_view id_and_index) {
  return conversation.userdata("00 01 12 04 11 44 01 00",
                               "FF 09 00 04 " + std::string(id_and_index));
}

TEST(StateLists, HaveTheFormOfACpu) {
  struct Case {
    const char* id_and_index;
    const char* begins;  // list, index, record length, records, the first of them
    std::size_t size;    // of the list, in bytes
  };
  const Case cases[] = {
      {"04 24 00 00",
       "04 24 00 00 00 14 00 01 51 44 FF 08 00 00 00 00 00 00 00 00 14 08 20 12 05 28 34 94",
       8 + 20},
      {"00 19 00 00",
       "00 19 00 00 00 04 00 07 00 01 00 00 00 04 01 00 00 05 00 00"
       "00 06 00 00 00 0B 00 00 00 0C 00 00 00 15 00 00",
       8 + 7 * 4},
      {"00 00 00 00", "00 00 00 00 00 02 00 0F 00 00 00 11", 8 + 15 * 2},
      {"00 11 00 00", "00 11 00 00 00 1C 00 04 00 01 '6ES7'", 8 + 4 * 28},
      {"01 11 00 07", "01 11 00 07 00 1C 00 01 00 07 20 20", 8 + 28},
      {"0F 11 00 00", "0F 11 00 00 00 1C 00 04", 8},
      {"01 19 00 04", "01 19 00 04 00 04 00 01 00 04 01 00", 8 + 4},
      {"01 31 00 01", "01 31 00 01 00 28 00 01 00 01 00 F0 00 40", 8 + 40},
      {"01 32 00 04", "01 32 00 04 00 28 00 01 00 04 00 01 00 00 00 01 00 02", 8 + 40},
  };
  Conversation conversation(at_a_known_time());
  for (const Case& c : cases) {
    const std::string answer = state_list(conversation, c.id_and_index);
    const std::string head = "00 01 12 08 12 84 01 01 00 00 00 00 | FF 09 ";
    const std::string begin = head + dump(Writer().u16(c.size).bytes(hex(c.begins)).take());
    EXPECT_TRUE(answer.starts_with(begin)) << answer;
    EXPECT_EQ(answer.size(), head.size() + 5 + 3 * c.size) << c.id_and_index;
  }
  conversation.job("29 00 00 00 00 00 09 'P_PROGRAM'");
  const std::string stopped = state_list(conversation, "04 24 00 00");
  EXPECT_NE(stopped.find("00 14 00 01 43 04 FF 04"), std::string::npos) << stopped;
}

TEST(StateLists, RefuseWhatThereIsNot) {
  const std::string head = "00 01 12 08 12 84 01 00 00 00 ";
  Conversation conversation;
  EXPECT_EQ(state_list(conversation, "0C 91 7F FF"), head + "D4 01 | 0A 00 00 00");
  EXPECT_EQ(state_list(conversation, "01 31 00 63"), head + "D4 02 | 0A 00 00 00");
  EXPECT_EQ(state_list(conversation, "04 24 00"), head + "85 00 | 0A 00 00 00");
  EXPECT_EQ(conversation.userdata("00 01 12 04 11 44 77 00", "0A 00 00 00"),
            "00 01 12 08 12 84 77 00 00 00 81 04 | 0A 00 00 00");
  EXPECT_EQ(conversation.userdata("00 01 12 08 12 84 01 01 00 00 00 00", "0A 00 00 00"), "")
      << "an answer isn't answered";
}

// What is longer than the PDU comes in parts: the sequence number names the transfer in the
// requests for the others, the data unit reference in the answers.
TEST(Userdata, SplitsWhatIsLongerThanThePdu) {
  const std::string next = "00 01 12 08 12 44 01 01 00 00 00 00";
  const std::string refused = "00 01 12 08 12 84 01 00 00 00 85 00 | 0A 00 00 00";
  Conversation conversation;
  const auto begin = [&] { return state_list(conversation, "00 1C 00 00"); };
  const auto ask_for = [&](const std::string& part) {
    return conversation.userdata(part, "0A 00 00 00");
  };

  const std::string first = begin();
  EXPECT_TRUE(first.starts_with(
      "00 01 12 08 12 84 01 01 01 01 00 00 | FF 09 00 D6 00 1C 00 00 00 22 00 0A 00 01"))
      << first;
  const std::string second = ask_for(next);
  EXPECT_TRUE(second.starts_with("00 01 12 08 12 84 01 01 01 00 00 00 | FF 09 00 86 ")) << second;
  EXPECT_EQ(ask_for(next), refused) << "there is no third part";

  EXPECT_TRUE(begin().starts_with("00 01 12 08 12 84 01 01 02 01")) << "another reference";
  state_list(conversation, "04 24 00 00");
  EXPECT_EQ(ask_for(next), refused) << "another job ends the transfer";

  begin();
  EXPECT_EQ(ask_for("00 01 12 08 12 44 01 02 00 00 00 00"), refused)
      << "another sequence number is another transfer's";
}

TEST(Userdata, TakesTheMessageServiceThatDeclaresTooLittle) {
  Conversation conversation;
  EXPECT_EQ(conversation.say("03 00 00 27 02 F0 80 32 07 00 00 0C 00 00 08 00 0C |"
                             "00 01 12 04 12 44 02 00 | FF 09 00 0A 00 00 'asmess' 00 00"),
            dump("03 00 00 23 02 F0 80 32 07 00 00 0C 00 00 0C 00 06 |"
                 "00 01 12 08 12 84 02 01 00 00 00 00 | FF 09 00 02 02 00"));
  EXPECT_EQ(state_list(conversation, "0F 11 00 00").substr(0, 5), "00 01")
      << "the two bytes behind it belong to nothing";
}

}  // namespace
}  // namespace plexum::sim
