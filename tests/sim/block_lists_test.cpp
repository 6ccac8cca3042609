#include "sim/block_lists.h"

#include <gtest/gtest.h>

#include "tests/sim/scenario.h"

namespace plexum::sim {
namespace {

TEST(BlockLists, CountAndListByType) {
  constexpr std::string_view kList = "00 01 12 04 11 43 02 00";
  Conversation conversation;
  EXPECT_EQ(conversation.userdata("00 01 12 04 11 43 01 00", "0A 00 00 00"),
            expected("00 01 12 08 12 83 01 01 00 00 00 00 | FF 09 00 1C '08' 00 01 '0E' 00 01 "
                     "'0C' 00 02 '0A' 00 0A '0B' 00 05 '0D' 00 47 '0F' 00 0E"));
  EXPECT_EQ(conversation.userdata(kList, "FF 09 00 02 '0B'"),
            expected("00 01 12 08 12 83 02 01 00 00 00 00 | FF 09 00 14 "
                     "00 00 22 07 00 01 22 07 00 02 22 07 00 04 22 07 00 07 22 07"));
  EXPECT_EQ(conversation.userdata(kList, "FF 09 00 02 '09'"),
            "00 01 12 08 12 83 02 00 00 00 D2 01 | 0A 00 00 00");

  conversation.plc.blocks.clear();
  EXPECT_EQ(text(conversation.exchange(MessageType::kUserdata, kList, "FF 09 00 02 '0C'")),
            dump("03 00 00 21 02 F0 80 32 07 00 00 02 00 00 0C 00 04 |"
                 "00 01 12 08 12 83 02 00 00 00 D2 0E 0A 00 00 00"))
      << "33 bytes when there is none";
}

TEST(BlockLists, TellOfABlockWhatItsHeaderSays) {
  const std::string information = "00 01 12 04 11 43 03 00";
  Conversation conversation;
  const std::string answer = conversation.userdata(information, "FF 09 00 08 '0A00001B'");
  EXPECT_TRUE(
      answer.starts_with("00 01 12 08 12 83 03 01 00 00 00 00 | FF 09 00 4E 01 00 00 4A "
                         "22 00 70 70 01 01 05 0A 00 01 00 00 04 48"))
      << answer;
  EXPECT_NE(answer.find(dump("04 00 'PLEXUM' 00 00 'SAMPLE' 00 00 'DB1' 00 00 00 00 00 01 00")),
            std::string::npos)
      << answer;
  EXPECT_EQ(conversation.userdata(information, "FF 09 00 08 '0A00063B'"),
            "00 01 12 08 12 83 03 00 00 00 D2 09 | 0A 00 00 00");
}

}  // namespace
}  // namespace plexum::sim
