#include "sim/services.h"

#include <gtest/gtest.h>

#include "tests/sim/scenario.h"

namespace plexum::sim {
namespace {

const std::string kCopyToRom = "28 00 00 00 00 00 00 FD 00 02 'EP' 05 '_MODU'";
const std::string kErase =
    "00 01 12 08 12 41 0C 00 00 00 00 00 |"
    "FF 09 00 18 00 14 00 00 00 00 00 00 00 01 00 00 00 00 00 01 00 01 00 01 00 01 00 00";

// The copy telegram of clients that took its TPKT from the start telegram: two bytes are missing.
TEST(Services, CopyRamToRomWithoutItsLastTwoBytes) {
  Conversation conversation;
  const std::string copy = "03 00 00 25 02 F0 80 32 01 00 00 07 00 00 12 00 00 " + kCopyToRom;
  const std::string answer = dump("03 00 00 14 02 F0 80 32 03 00 00 07 00 00 01 00 00 00 00 28");
  EXPECT_EQ(conversation.say(copy), answer);
  EXPECT_EQ(conversation.say(copy + copy), answer + " / " + answer);
  EXPECT_EQ(conversation.plc.copies_to_rom, 3u);
}

TEST(Services, TakeTheirOwnArgumentsAlone) {
  const Exchange exchanges[] = {
      // clang-format off
      {"stop",                   "29 00 00 00 00 00 09 'P_PROGRAM'",                                  "29 |"},
      {"cold restart",           "28 00 00 00 00 00 00 FD 00 02 'C ' 09 'P_PROGRAM'",                 "28 |"},
      {"unknown service",        "28 00 00 00 00 00 00 FD 00 00 05 '_NONE'",                          "refused 81 04"},
      {"stop of something else", "29 00 00 00 00 00 05 '_GARB'",                                      "refused 81 04"},
      {"restart of what kind",   "28 00 00 00 00 00 00 FD 00 02 'X ' 09 'P_PROGRAM'",                 "refused D2 02"},
      {"copy of what",           "28 00 00 00 00 00 00 FD 00 00 05 '_MODU'",                          "refused D2 02"},
      {"other fixed bytes",      "28 00 00 00 00 00 00 FE 00 00 05 '_GARB'",                          "refused 85 00"},
      {"name cut short",         "28 00 00 00 00 00 00 FD 00 00 06 '_GARB'",                          "refused 85 00"},
      {"argument too long",      "28 00 00 00 00 00 00 FD 00 63 05 '_GARB'",                          "refused 85 00"},
      {"bytes behind the name",  "28 00 00 00 00 00 00 FD 00 00 05 '_GARB' 00",                       "refused 85 00"},
      {"block type",             "28 00 00 00 00 00 00 FD 00 0A 01 00 '0900005B' 05 '_DELE'",         "refused D2 01"},
      {"block number",           "28 00 00 00 00 00 00 FD 00 0A 01 00 '0A0000xB' 05 '_DELE'",         "refused D2 01"},
      {"block number 70000",     "28 00 00 00 00 00 00 FD 00 0A 01 00 '0A70000B' 05 '_DELE'",         "refused D2 01"},
      {"two blocks, one there",  "28 00 00 00 00 00 00 FD 00 0A 02 00 '0A00005B' 05 '_DELE'",         "refused 85 00"},
      {"system function",        "28 00 00 00 00 00 00 FD 00 0A 01 00 '0D00001B' 05 '_DELE'",         "refused 87 03"},
      {"erase",                  kErase,                     "00 01 12 08 12 81 0C 01 00 00 00 00 | 0A 00 00 00"},
      // clang-format on
  };
  Conversation conversation;
  conversation.expect(exchanges);
  EXPECT_FALSE(conversation.plc.blocks.list(BlockType::kSystemFunction).empty());
}

TEST(Services, OfAProtectedPlcAreRefused) {
  const Exchange exchanges[] = {
      // clang-format off
      {"copy RAM to ROM", kCopyToRom, "refused D2 41"},
      {"erase",           kErase,     "00 01 12 08 12 81 0C 00 00 00 D2 41 | 0A 00 00 00"},
      {"set the clock",   "00 01 12 04 11 47 02 00 | FF 09 00 0A 00 20 10 07 08 12 30 45 12 12", "00 01 12 08 12 87 02 00 00 00 D2 41 | 0A 00 00 00"},
      {"its level",       "00 01 12 04 11 44 01 00 | FF 09 00 04 01 32 00 04",
       "00 01 12 08 12 84 01 01 00 00 00 00 | FF 09 00 30 01 32 00 04 00 28 00 01 00 04 00 01 00 03 00 03 ..."},
      // clang-format on
  };
  Options options;
  options.write_protected = true;
  Conversation conversation(options);
  conversation.expect(exchanges);
  EXPECT_EQ(conversation.plc.mode, Mode::kRun);
}

}  // namespace
}  // namespace plexum::sim
