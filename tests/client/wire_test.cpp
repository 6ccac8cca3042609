#include <gtest/gtest.h>

#include "client/wire/clock.h"
#include "client/wire/framer.h"
#include "client/wire/message.h"
#include "support/hex.h"

namespace plexum::wire {
namespace {

using namespace std::string_literals;
using test::bytes;
using test::hex;

struct MessageRow {
  const char* what;
  const char* dump;
  Message message;
};

Message job(std::uint16_t reference, Job content) { return {reference, std::move(content)}; }
Message answer(std::uint16_t reference, Answer content) { return {reference, std::move(content)}; }

Userdata answered(UserFunction function, std::uint8_t sequence, Userdata::Progress progress,
                  std::string content) {
  Userdata userdata = user_request(function, std::move(content));
  userdata.kind = Userdata::Kind::kAnswer;
  userdata.sequence = sequence;
  userdata.progress = progress;
  return userdata;
}

const BlockId kDb1{BlockType::kDb, 1};
const BlockId kOb10{BlockType::kOb, 10};

// Written by hand, or as PLCs and programming tools were seen to send them.
const MessageRow kMessages[] = {
    {"set-up", "32 01 00 00 02 00 00 08 00 00 | F0 00 00 01 00 01 01 E0",
     job(0x200, SetUp{1, 1, 480})},
    {"set-up, granted", "32 03 00 00 02 00 00 08 00 00 00 00 | F0 00 00 03 00 03 00 F0",
     answer(0x200, SetUp{3, 3, 240})},
    {"read of a block, a bit and timers",
     "32 01 00 00 00 07 00 26 00 00 | 04 03 | 12 0A 10 02 00 04 00 0A 84 00 00 20 |"
     "12 0A 10 01 00 01 00 00 83 00 00 A3 | 12 0A 10 1D 00 02 00 00 1D 00 00 05",
     job(7, ReadJob{{{ElementType::kByte, 4, 10, Area::kDataBlock, 32},
                     {ElementType::kBit, 1, 0, Area::kFlags, 20 * 8 + 3},
                     {ElementType::kTimer, 2, 0, Area::kTimers, 5}}})},
    {"what was read: lengths in bits and in bytes, fill bytes",
     "32 03 00 00 00 07 00 02 00 1E 00 00 | 04 05 | FF 04 00 18 01 02 03 00 | FF 03 00 01 01 00 |"
     "FF 09 00 04 20 00 20 10 | 0A 00 00 00 | FF 06 00 00",
     answer(7, ReadAnswer{{{ReturnCode::kSuccess, DataType::kBytes, "\1\2\3"},
                           {ReturnCode::kSuccess, DataType::kBit, "\1"},
                           {ReturnCode::kSuccess, DataType::kOctets, "\x20\0\x20\x10"s},
                           {ReturnCode::kNoSuchObject, DataType::kNone, ""},
                           {ReturnCode::kSuccess, DataType::kDoubleIntegers, ""}}})},
    {"write of a byte and a counter",
     "32 01 00 00 00 08 00 1A 00 0C | 05 02 | 12 0A 10 02 00 01 00 02 84 07 FF F8 |"
     "12 0A 10 1C 00 01 00 00 1C 00 00 09 | 00 04 00 08 7F 00 | 00 09 00 02 01 23",
     job(8, WriteJob{{{ElementType::kByte, 1, 2, Area::kDataBlock, 65535 * 8},
                      {ElementType::kCounter, 1, 0, Area::kCounters, 9}},
                     {{ReturnCode::kReserved, DataType::kBytes, "\x7F"},
                      {ReturnCode::kReserved, DataType::kOctets, "\x01\x23"}}})},
    {"what was written", "32 03 00 00 00 08 00 02 00 02 00 00 | 05 02 | FF 03",
     answer(8, WriteAnswer{{ReturnCode::kSuccess, ReturnCode::kAccessDenied}})},
    {"a refusal", "32 02 00 00 15 00 00 00 00 00 D2 0C", {0x1500, Refusal{{0xD2, 0x0C}}}},
    {"start upload", "32 01 00 00 08 00 00 12 00 00 | 1D 00 00 00 00 00 00 00 09 '_0800010A'",
     job(0x800, StartUpload{{kOb10, FileSystem::kActive}})},
    {"upload started", "32 03 00 00 08 00 00 10 00 00 00 00 | 1D 00 01 00 00 00 00 07 07 '0000216'",
     answer(0x800, UploadStarted{7, 216})},
    {"upload", "32 01 00 00 09 00 00 08 00 00 | 1E 00 00 00 00 00 00 07", job(0x900, Upload{7})},
    {"a part of an upload", "32 03 00 00 09 00 00 02 00 07 00 00 | 1E 01 | 00 03 00 FB 70 70 03",
     answer(0x900, ImagePart{Function::kUpload, true, "\x70\x70\x03"})},
    {"end upload", "32 01 00 00 0A 00 00 08 00 00 | 1F 00 00 00 00 00 00 07",
     job(0xA00, EndUpload{7})},
    {"upload ended", "32 03 00 00 0A 00 00 01 00 00 00 00 | 1F",
     answer(0xA00, Done{Function::kEndUpload})},
    {"request download",
     "32 01 00 00 0E 00 00 20 00 00 | 1A 00 01 00 00 00 00 00 09 '_0A00001P' 0D '1000500000040'",
     job(0xE00, RequestDownload{{kDb1, FileSystem::kPassive}, 500, 40})},
    {"the PLC's download job",
     "32 01 00 00 01 00 00 12 00 00 | 1B 00 00 00 00 00 00 00 09 '_0A00001P'",
     job(0x100, DownloadBlock{{kDb1, FileSystem::kPassive}})},
    {"a part of a download", "32 03 00 00 01 00 00 02 00 06 00 00 | 1B 00 | 00 02 00 FB AA BB",
     answer(0x100, ImagePart{Function::kDownloadBlock, false, "\xAA\xBB"})},
    {"download ended, with an error",
     "32 01 00 00 07 00 00 12 00 00 | 1C 00 D2 19 00 00 00 00 09 '_0A00001P'",
     job(0x700, DownloadEnded{{kDb1, FileSystem::kPassive}, {0xD2, 0x19}})},
    {"stop", "32 01 00 00 1C 00 00 10 00 00 | 29 00 00 00 00 00 09 'P_PROGRAM'",
     job(0x1C00, Stop{})},
    {"warm start", "32 01 00 00 1F 00 00 14 00 00 | 28 00 00 00 00 00 00 FD 00 00 09 'P_PROGRAM'",
     job(0x1F00, warm_start())},
    {"cold start",
     "32 01 00 00 1F 00 00 16 00 00 | 28 00 00 00 00 00 00 FD 00 02 'C ' 09 'P_PROGRAM'",
     job(0x1F00, cold_start())},
    {"copy RAM to ROM",
     "32 01 00 00 1D 00 00 12 00 00 | 28 00 00 00 00 00 00 FD 00 02 'EP' 05 '_MODU'",
     job(0x1D00, copy_ram_to_rom())},
    {"compress", "32 01 00 00 1E 00 00 10 00 00 | 28 00 00 00 00 00 00 FD 00 00 05 '_GARB'",
     job(0x1E00, compress())},
    {"insert",
     "32 01 00 00 0F 00 00 1A 00 00 | 28 00 00 00 00 00 00 FD 00 0A 01 00 '0A00001P' 05 '_INSE'",
     job(0xF00, insert_block(kDb1))},
    {"delete",
     "32 01 00 00 6B 00 00 1A 00 00 | 28 00 00 00 00 00 00 FD 00 0A 01 00 '0A00001B' 05 '_DELE'",
     job(0x6B00, delete_block(kDb1))},
    {"a service done", "32 03 00 00 1E 00 00 01 00 00 00 00 | 28",
     answer(0x1E00, Done{Function::kService})},
    {"read a state list",
     "32 07 00 00 03 00 00 08 00 08 | 00 01 12 04 11 44 01 00 | FF 09 00 04 01 32 00 04",
     {0x300, read_state_list(0x0132, 4)}},
    {"the first part of an answer",
     "32 07 00 00 02 00 00 0C 00 08 | 00 01 12 08 12 84 01 02 D5 01 00 00 | FF 09 00 04 00 1C 00 "
     "00",
     {0x200, answered(kReadStateList, 2, {0xD5, true, {}}, "\x00\x1C\x00\x00"s)}},
    {"the request for the next one",
     "32 07 00 00 03 00 00 0C 00 04 | 00 01 12 08 12 44 01 02 00 00 00 00 | 0A 00 00 00",
     {0x300, next_part_of(answered(kReadStateList, 2, {0xD5, true, {}}, "x"))}},
    {"refused userdata",
     "32 07 00 00 05 00 00 0C 00 04 | 00 01 12 08 12 83 03 00 00 00 D2 09 | 0A 00 00 00",
     {0x500, answered(kBlockInformation, 0, {0, false, {0xD2, 0x09}}, "")}},
    {"count the blocks",
     "32 07 00 00 04 00 00 08 00 04 | 00 01 12 04 11 43 01 00 | 0A 00 00 00",
     {0x400, user_request(kCountBlocks)}},
    {"list the blocks of a type",
     "32 07 00 00 05 00 00 08 00 06 | 00 01 12 04 11 43 02 00 | FF 09 00 02 '0D'",
     {0x500, list_blocks(BlockType::kSfc)}},
    {"block information",
     "32 07 00 00 0C 00 00 08 00 0C | 00 01 12 04 11 43 03 00 | FF 09 00 08 '0A00001A'",
     {0xC00, block_information(kDb1)}},
    {"set the clock",
     "32 07 00 00 17 00 00 08 00 0E | 00 01 12 04 11 47 02 00 |"
     "FF 09 00 0A 00 20 16 02 08 23 08 10 25 02",
     {0x1700,
      user_request(kSetClock, clock_content(std::chrono::sys_days(std::chrono::year(2016) / 2 / 8) +
                                            std::chrono::hours(23) + std::chrono::minutes(8) +
                                            std::chrono::milliseconds(10250)))}},
    {"start a session",
     "32 07 00 00 06 00 00 08 00 0C | 00 01 12 04 11 45 01 00 | FF 09 00 08 21 3A 1B 1D 6E 68 1B "
     "1D",
     {0x600, start_session("toor")}},
    {"end a session",
     "32 07 00 00 06 00 00 08 00 04 | 00 01 12 04 11 45 02 00 | 0A 00 00 00",
     {0x600, user_request(kEndSession)}},
    {"erase",
     "32 07 00 00 04 00 00 08 00 1C | 00 01 12 04 11 41 0C 00 |"
     "FF 09 00 18 00 14 00 00 00 00 00 00 00 01 00 00 00 00 00 01 00 01 00 01 00 01 00 00",
     {0x400, erase()}},
};

TEST(Wire, BuildsAndParsesEveryMessage) {
  for (const MessageRow& row : kMessages) {
    const std::string expected = bytes(row.dump);
    EXPECT_EQ(hex(build(row.message)), hex(expected)) << row.what;
    const Parsed<Message> parsed = parse(expected);
    ASSERT_TRUE(parsed) << row.what << ": " << parsed.fault().what;
    EXPECT_TRUE(*parsed == row.message) << row.what;
    // Cut anywhere it is no message, and nothing worse.
    for (std::size_t size = 0; size < expected.size(); ++size) {
      EXPECT_FALSE(parse(std::string_view(expected).substr(0, size))) << row.what << ", " << size;
    }
  }
}

TEST(Wire, SaysWhatIsWrong) {
  const std::pair<const char*, const char*> rows[] = {
      {"72 01 00 00 00 00 00 00 00 00", "no S7 message"},
      {"32 05 00 00 00 00 00 00 00 00", "an S7 message of an unknown type"},
      {"32 01 00 00 00 00 00 01 00 00 77", "a job of an unknown function"},
      {"32 03 00 00 00 00 00 00 00 00 00 00", "an answer without a function"},
      {"32 03 00 00 00 07 00 02 00 08 00 00 04 01 FF 04 00 08 01 00 00 00",
       "bytes behind the data"},
      {"32 03 00 00 00 07 00 02 00 06 00 00 04 01 FF 04 00 18 01 02", "ends within the data"},
      {"32 03 00 00 00 07 00 0B 00 00 00 00 1D 00 01 00 00 00 00 07 02 'x1'",
       "no length of the block"},
      {"32 07 00 00 00 00 00 08 00 00 00 01 00 00 10 10 00 00", "userdata with another head"},
  };
  for (const auto& [dump, fault] : rows) {
    const Parsed<Message> parsed = parse(bytes(dump));
    ASSERT_FALSE(parsed) << dump;
    EXPECT_STREQ(parsed.fault().what, fault) << dump;
  }
}

TEST(Wire, ReadsClocksOfEitherCentury) {
  const auto time_of = [](const char* dump) { return parse_clock_content(bytes(dump)); };
  const auto noon = std::chrono::hours(12);
  EXPECT_EQ(*time_of("00 19 14 08 20 12 00 00 00 04"),
            std::chrono::sys_days(std::chrono::year(2014) / 8 / 20) + noon);
  EXPECT_EQ(*time_of("00 19 94 08 20 12 00 00 00 07"),
            std::chrono::sys_days(std::chrono::year(1994) / 8 / 20) + noon);
  EXPECT_FALSE(time_of("00 19 14 13 20 12 00 00 00 04")) << "a month 13";
  EXPECT_FALSE(time_of("00 19 1A 08 20 12 00 00 00 04")) << "no BCD";
  EXPECT_FALSE(time_of("00 19 14 08")) << "too short";
}

TEST(Wire, BuildsAndParsesTransportUnits) {
  ConnectionRequest request;
  request.source = 1;
  request.tpdu_size = 10;
  request.calling_tsap = "\x01\x00"s;
  request.called_tsap = "\x01\x02";
  const std::pair<const char*, Unit> rows[] = {
      {"03 00 00 16 | 11 E0 00 00 00 01 00 C0 01 0A C1 02 01 00 C2 02 01 02", request},
      {"03 00 00 0B | 06 80 00 01 00 02 03", DisconnectRequest{1, 2, 3}},
      {"03 00 00 09 | 02 F0 80 | AA BB", DataUnit{true, "\xAA\xBB"}},
  };
  for (const auto& [dump, unit] : rows) {
    EXPECT_EQ(hex(build(unit)), hex(bytes(dump)));
    const std::string telegram = bytes(dump);
    const Parsed<Unit> parsed = parse_telegram(telegram);
    ASSERT_TRUE(parsed) << dump;
    EXPECT_TRUE(parsed->index() == unit.index()) << dump;
    EXPECT_EQ(hex(build(*parsed)), hex(telegram));
  }
}

// Messages of a stream as "AA BB / CC", then the fault if there is one.
std::string framed(std::size_t longest, const std::string& stream, std::size_t piece) {
  Framer framer(longest);
  std::string text;
  for (std::size_t i = 0; i < stream.size(); i += piece) {
    framer.feed(std::string_view(stream).substr(i, piece));
    while (const auto next = framer.next()) {
      text += text.empty() ? "" : " / ";
      if (const auto* fault = std::get_if<Fault>(&*next)) return text + fault->what;
      const auto* message = std::get_if<std::string_view>(&*next);
      text += message == nullptr ? "unit" : hex(std::string(*message));
    }
  }
  return text;
}

TEST(Framer, CutsAndJoinsWhateverThePieces) {
  const std::string three = bytes(
      "03 00 00 08 02 F0 80 AA | 03 00 00 0B 06 80 00 01 00 02 03 |"
      "03 00 00 09 02 F0 00 BB CC | 03 00 00 07 02 F0 00 | 03 00 00 08 02 F0 80 DD");
  for (std::size_t piece = 1; piece <= three.size(); ++piece) {
    EXPECT_EQ(framed(16, three, piece), "AA / unit / BB CC DD") << piece;
  }
}

TEST(Framer, KeepsNoMoreThanItsLimit) {
  const std::string fragment = bytes("03 00 00 0F 02 F0 00 01 02 03 04 05 06 07 08");
  EXPECT_EQ(framed(16, fragment + fragment + fragment, 99), "a message that doesn't end");
  std::string empty_ones;
  for (int i = 0; i < 600; ++i) empty_ones += bytes("03 00 00 07 02 F0 00");
  EXPECT_EQ(framed(16, empty_ones, 99), "a message that doesn't end");
  EXPECT_EQ(framed(16, bytes("03 00 01 00 02 F0 80"), 99), "a telegram that is too long");
  EXPECT_EQ(framed(16, bytes("03 00 00 08 02 F0 80 AA 00"), 99), "AA / no TPKT");
  EXPECT_EQ(framed(16, bytes("03 00 00 04"), 99), "a TPKT without a transport unit");
}

}  // namespace
}  // namespace plexum::wire
