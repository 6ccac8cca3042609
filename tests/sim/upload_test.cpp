#include "sim/upload.h"

#include <gtest/gtest.h>

#include "tests/sim/scenario.h"

namespace plexum::sim {
namespace {

TEST(Upload, IsAnsweredAsByACpu) {
  Conversation conversation;
  EXPECT_EQ(conversation.say("03 00 00 23 02 F0 80 32 01 00 00 00 00 00 12 00 00 |"
                             "1D 00 00 00 00 00 00 00 09 '_0C00001A'"),
            dump("03 00 00 23 02 F0 80 32 03 00 00 00 00 00 10 00 00 00 00 |"
                 "1D 00 01 00 00 00 00 01 07 '0000076'"));
  const std::string part = conversation.say(
      "03 00 00 19 02 F0 80 32 01 00 00 00 01 00 08 00 00 1E 00 00 00 00 00 00 01");
  EXPECT_TRUE(
      part.starts_with(dump("03 00 00 65 02 F0 80 32 03 00 00 00 01 00 02 00 50 00 00 |"
                            "1E 00 | 00 4C 00 FB | 70 70 01 01 01 0C 00 01 00 00 00 4C")))
      << part;
  EXPECT_EQ(conversation.say(
                "03 00 00 19 02 F0 80 32 01 00 00 00 02 00 08 00 00 1F 00 00 00 00 00 00 01"),
            dump("03 00 00 14 02 F0 80 32 03 00 00 00 02 00 01 00 00 00 00 1F"));
}

TEST(Upload, RefusesWhatItMust) {
  const JobCase cases[] = {
      {"no such block", "1D 00 00 00 00 00 00 00 09 '_0C00099A'", "refused D2 09"},
      {"the CPU's own", "1D 00 00 00 00 00 00 00 09 '_0D00001A'", "refused 87 03"},
      {"unknown type", "1D 00 00 00 00 00 00 00 09 '_0900001A'", "refused D2 01"},
      {"short number", "1D 00 00 00 00 00 00 00 09 '_0C0001A'", "refused D2 01"},
      {"part of nothing", "1E 00 00 00 00 00 00 63", "refused 84 01"},
      {"end of nothing", "1F 00 00 00 00 00 00 63", "refused 84 01"},
  };
  Conversation conversation;
  conversation.expect_answers(cases);

  for (int i = 0; i < 3; ++i) conversation.job("1D 00 00 00 00 00 00 00 09 '_0C00001A'");
  EXPECT_EQ(conversation.job("1D 00 00 00 00 00 00 00 09 '_0C00001A'"), "refused 83 04");
  conversation.job("1E 00 00 00 00 00 00 01");
  EXPECT_EQ(conversation.job("1E 00 00 00 00 00 00 01"), "refused 84 01") << "beyond its end";
}

}  // namespace
}  // namespace plexum::sim
