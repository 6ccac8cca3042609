#include "sim/block_lists.h"

#include <gtest/gtest.h>

#include "tests/sim/scenario.h"

namespace plexum::sim {
namespace {

// Function group 3: counts (1), list (2) and information (3).
TEST(BlockLists, CountListAndTell) {
  const Exchange exchanges[] = {
      // clang-format off
      {"counts",       "00 01 12 04 11 43 01 00 | 0A 00 00 00",
       "00 01 12 08 12 83 01 01 00 00 00 00 | FF 09 00 1C '08' 00 01 '0E' 00 01 '0C' 00 02 '0A' 00 0A '0B' 00 05 '0D' 00 47 '0F' 00 0E"},
      {"list",         "00 01 12 04 11 43 02 00 | FF 09 00 02 '0B'",
       "00 01 12 08 12 83 02 01 00 00 00 00 | FF 09 00 14 00 00 22 07 00 01 22 07 00 02 22 07 00 04 22 07 00 07 22 07"},
      {"unknown type", "00 01 12 04 11 43 02 00 | FF 09 00 02 '09'",       "00 01 12 08 12 83 02 00 00 00 D2 01 | 0A 00 00 00"},
      {"52 of 71",     "00 01 12 04 11 43 02 00 | FF 09 00 02 '0D'",       "00 01 12 08 12 83 02 01 01 01 00 00 | FF 09 00 D0 00 00 42 01 ..."},
      {"of a block",   "00 01 12 04 11 43 03 00 | FF 09 00 08 '0A00001B'",
       "00 01 12 08 12 83 03 01 00 00 00 00 | FF 09 00 4E 01 00 00 4A 22 00 70 70 01 01 05 0A 00 01 00 00 04 48 ..."},
      {"of no block",  "00 01 12 04 11 43 03 00 | FF 09 00 08 '0A00063B'", "00 01 12 08 12 83 03 00 00 00 D2 09 | 0A 00 00 00"},
      // clang-format on
  };
  Conversation conversation;
  conversation.expect(exchanges);
  const std::string foot = conversation.ask(exchanges[4].message);
  EXPECT_NE(foot.find(dump("04 00 'PLEXUM' 00 00 'SAMPLE' 00 00 'DB1' 00 00 00 00 00 01 00")),
            std::string::npos)
      << foot;
  conversation.plc.blocks.clear();
  EXPECT_EQ(conversation.ask("00 01 12 04 11 43 02 00 | FF 09 00 02 '0C'"),
            "00 01 12 08 12 83 02 00 00 00 D2 0E | 0A 00 00 00");
}

}  // namespace
}  // namespace plexum::sim
