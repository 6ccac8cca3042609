#include "sim/services.h"

#include <gtest/gtest.h>

#include "tests/sim/scenario.h"

namespace plexum::sim {
namespace {

constexpr std::string_view kStop = "29 00 00 00 00 00 09 'P_PROGRAM'";
constexpr std::string_view kStart = "28 00 00 00 00 00 00 FD 00 00 09 'P_PROGRAM'";
constexpr std::string_view kCopyToRom = "28 00 00 00 00 00 00 FD 00 02 'EP' 05 '_MODU'";
constexpr std::string_view kCompress = "28 00 00 00 00 00 00 FD 00 00 05 '_GARB'";
constexpr std::string_view kDeleteDb5 = "28 00 00 00 00 00 00 FD 00 0A 01 00 '0A00005B' 05 '_DELE'";
constexpr std::string_view kErase = "00 01 12 08 12 41 0C 00 00 00 00 00";
constexpr std::string_view kEraseData =
    "FF 09 00 18 00 14 00 00 00 00 00 00 00 01 00 00 00 00 00 01 00 01 00 01 00 01 00 00";
constexpr std::string_view kSetClock = "00 01 12 04 11 47 02 00";
constexpr std::string_view kSetClockData = "FF 09 00 0A 00 20 10 07 08 12 30 45 12 12";
constexpr std::string_view kWrite = "05 01 12 0A 10 02 00 01 00 00 83 00 00 00";
constexpr std::string_view kWriteData = "00 04 00 08 7F";
constexpr std::string_view kReadDb5 = "04 01 12 0A 10 02 00 01 00 05 84 00 00 00";

TEST(Services, AnswerInTwentyBytes) {
  Conversation conversation;
  EXPECT_EQ(conversation.say(MessageType::kJob, kStop),
            dump("03 00 00 14 02 F0 80 32 03 00 00 02 00 00 01 00 00 00 00 29"));
  EXPECT_EQ(conversation.say(MessageType::kJob, kStart),
            dump("03 00 00 14 02 F0 80 32 03 00 00 02 00 00 01 00 00 00 00 28"));
}

// The copy telegram of clients that took its TPKT from the start telegram: two bytes are missing.
TEST(Services, CopyRamToRomWithoutItsLastTwoBytes) {
  Conversation conversation;
  const std::string copy =
      "03 00 00 25 02 F0 80 32 01 00 00 07 00 00 12 00 00 " + std::string(kCopyToRom);
  const std::string answer = dump("03 00 00 14 02 F0 80 32 03 00 00 07 00 00 01 00 00 00 00 28");
  EXPECT_EQ(conversation.say(copy), answer);
  EXPECT_EQ(conversation.say(copy + copy), answer + " / " + answer);
  EXPECT_EQ(conversation.plc.copies_to_rom, 3u);
}

TEST(Services, CompressAndDelete) {
  Conversation conversation;
  EXPECT_EQ(conversation.job(kCompress), "28 | ");
  EXPECT_EQ(conversation.plc.compressions, 1u);
  EXPECT_EQ(conversation.job(kReadDb5), expected("04 01 | FF 04 00 08 00"));
  EXPECT_EQ(conversation.job(kDeleteDb5), "28 | ");
  EXPECT_EQ(conversation.job(kReadDb5), expected("04 01 | 0A 00 00 00"));
  EXPECT_EQ(conversation.job(kDeleteDb5), "refused D2 09");
}

TEST(Services, EraseClearsMemoryAndProgramAndStops) {
  Conversation conversation;
  conversation.job(kWrite, kWriteData);
  EXPECT_EQ(conversation.say(MessageType::kUserdata, kErase, kEraseData),
            dump("03 00 00 21 02 F0 80 32 07 00 00 02 00 00 0C 00 04 |"
                 "00 01 12 08 12 81 0C 01 00 00 00 00 | 0A 00 00 00"));
  EXPECT_EQ(conversation.plc.mode, Mode::kStop);
  EXPECT_EQ(conversation.job(kReadDb5), expected("04 01 | 0A 00 00 00"));
  EXPECT_EQ(conversation.job("04 01 12 0A 10 02 00 01 00 00 83 00 00 00"),
            expected("04 01 | FF 04 00 08 00"));
  EXPECT_TRUE(conversation.plc.blocks.list(BlockType::kOrganisation).empty());
  EXPECT_FALSE(conversation.plc.blocks.list(BlockType::kSystemFunction).empty());
}

TEST(Services, RefuseWhatTheyAreNot) {
  struct Case {
    const char* name;
    const char* parameter;
    const char* answer;
  };
  const Case cases[] = {
      // clang-format off
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
      // clang-format on
  };
  Conversation conversation;
  for (const Case& c : cases) EXPECT_EQ(conversation.job(c.parameter), c.answer) << c.name;
  EXPECT_EQ(conversation.job(kReadDb5), expected("04 01 | FF 04 00 08 00"));
}

TEST(Services, AProtectedPlcRefusesWritesAndServicesAndIsRead) {
  Options options;
  options.write_protected = true;
  Conversation conversation(options);
  EXPECT_EQ(conversation.job(kWrite, kWriteData), expected("05 01 | 03"));
  for (const std::string_view job : {kStop, kStart, kCopyToRom, kCompress, kDeleteDb5}) {
    EXPECT_EQ(conversation.job(job), "refused D2 41") << job;
  }
  EXPECT_EQ(conversation.userdata(kErase, kEraseData),
            "00 01 12 08 12 81 0C 00 00 00 D2 41 | 0A 00 00 00");
  EXPECT_EQ(conversation.userdata(kSetClock, kSetClockData),
            "00 01 12 08 12 87 02 00 00 00 D2 41 | 0A 00 00 00");
  EXPECT_EQ(conversation.plc.mode, Mode::kRun);
  EXPECT_EQ(conversation.job(kReadDb5), expected("04 01 | FF 04 00 08 00"));
  const std::string protection =
      conversation.userdata("00 01 12 04 11 44 01 00", "FF 09 00 04 01 32 00 04");
  EXPECT_NE(protection.find("00 04 00 01 00 03 00 03"), std::string::npos) << protection;
}

}  // namespace
}  // namespace plexum::sim
