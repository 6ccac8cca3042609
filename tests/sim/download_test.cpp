#include "sim/download.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/block_images.h"
#include "tests/sim/scenario.h"

namespace plexum::sim {
namespace {

constexpr BlockId kFc1{BlockType::kFunction, 1};
const std::string kInsert = "28 00 00 00 00 00 00 FD 00 0A 01 00 '0C00001P' 05 '_INSE'";

// FC 1 in 300 bytes, of which 264 are code; downloaded in parts of 222 bytes.
Bytes image_of_fc1() {
  const std::string image = test::block_image(0x0C, 1, 300);
  return {image.begin(), image.end()};
}
const Bytes kFirstPart =
    Writer().u16(222).u16(0xFB).bytes(ByteView(image_of_fc1()).first(222)).take();

// A client that has requested to download FC 1; the PLC has sent its job with reference 1.
struct Downloader : Conversation {
  Downloader() { ask("1A 00 01 00 00 00 00 00 09 '_0C00001P' 0D '1000300000264'"); }

  // Answers one of the PLC's jobs. Returns what that is answered with.
  std::string answer(std::uint16_t job, std::string_view parameter, const Bytes& data = {},
                     Error error = Error::kNone) {
    return text(connection.receive(
        wrap_message(build_message({MessageType::kAckData, job, error, hex(parameter), data}))));
  }
};

// The bytes of a whole dialogue: what the client says, what the PLC answers.
TEST(Download, IsADialogueAsWithACpu) {
  const struct {
    const char* client;
    std::string plc;
  } steps[] = {
      // clang-format off
      // A data block of 4 bytes in an image of 40; the PLC's first job comes after a pause.
      {"03 00 00 31 02 F0 80 32 01 00 00 0D 00 00 20 00 00 | 1A 00 01 00 00 00 00 00 09 '_0A00012P' 0D '1000040000004'",
       dump("03 00 00 14 02 F0 80 32 03 00 00 0D 00 00 01 00 00 00 00 | 1A") + " / +20ms " +
       dump("03 00 00 23 02 F0 80 32 01 00 00 00 01 00 12 00 00 | 1B 00 00 00 00 00 00 00 09 '_0A00012P'")},
      {"03 00 00 41 02 F0 80 32 03 00 00 00 01 00 02 00 2C 00 00 | 1B 00 | 00 28 00 FB |"
       "70 70 01 01 05 0A 00 0C 00 00 00 28 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 04 CA FE BA BE",
       dump("03 00 00 23 02 F0 80 32 01 00 00 00 02 00 12 00 00 | 1C 00 00 00 00 00 00 00 09 '_0A00012P'")},
      {"03 00 00 14 02 F0 80 32 03 00 00 00 02 00 01 00 00 00 00 | 1C", ""},
      {"03 00 00 2B 02 F0 80 32 01 00 00 0C 00 00 1A 00 00 | 28 00 00 00 00 00 00 FD 00 0A 01 00 '0A00012P' 05 '_INSE'",
       dump("03 00 00 14 02 F0 80 32 03 00 00 0C 00 00 01 00 00 00 00 | 28")},
      // And it can be read.
      {"03 00 00 1F 02 F0 80 32 01 00 00 02 00 00 0E 00 00 | 04 01 12 0A 10 02 00 04 00 0C 84 00 00 00",
       dump("03 00 00 1D 02 F0 80 32 03 00 00 02 00 00 02 00 08 00 00 | 04 01 FF 04 00 20 CA FE BA BE")},
      // clang-format on
  };
  Conversation conversation;
  for (const auto& step : steps) EXPECT_EQ(conversation.say(step.client), step.plc);
}

TEST(Download, RefusesAnnouncementsThatItCannotTake) {
  const Exchange exchanges[] = {
      // clang-format off
      {"shorter than a header",  "1A 00 01 00 00 00 00 00 09 '_0A00012P' 0D '1000035000000'", "refused D2 19"},
      {"code beyond the image",  "1A 00 01 00 00 00 00 00 09 '_0A00012P' 0D '1000040000005'", "refused D2 19"},
      {"no digits",              "1A 00 01 00 00 00 00 00 09 '_0A00012P' 0D '10000x0000004'", "refused D2 02"},
      {"the CPU's own",          "1A 00 01 00 00 00 00 00 09 '_0D00001P' 0D '1000040000004'", "refused 87 03"},
      {"unknown type",           "1A 00 01 00 00 00 00 00 09 '_0900001P' 0D '1000040000004'", "refused D2 01"},
      {"lengths cut short",      "1A 00 01 00 00 00 00 00 09 '_0A00012P' 0D '100004000000'",  "refused 85 00"},
      {"insert without one",     "28 00 00 00 00 00 00 FD 00 0A 01 00 '0A00012P' 05 '_INSE'", "refused D2 09"},
      // clang-format on
  };
  Conversation().expect(exchanges);
}

TEST(Download, PutsIntoUseOnlyWhatWasAnnounced) {
  const struct {
    const char* name;
    std::size_t position;
    std::uint8_t value;  // of the image's byte there
    std::size_t code;    // bytes, as announced
    std::string answer;
  } cases[] = {
      {"no header", 0, 0x71, 264, "refused D2 26"},
      {"another type", 5, 0x0A, 264, "refused D2 26"},
      {"another number", 7, 2, 264, "refused D2 10"},
      {"another length", 11, 99, 264, "refused D2 19"},
      {"sections beyond its end", 29, 1, 264, "refused D2 19"},
      {"another code length", 0, 0x70, 263, "refused D2 19"},
      {"as announced", 0, 0x70, 264, "28 | "},
  };
  for (const auto& c : cases) {
    Conversation conversation;
    BlockStore& blocks = conversation.plc.blocks;
    const Bytes before = blocks.image(kFc1);
    Bytes image = image_of_fc1();
    image[c.position] = c.value;
    blocks.stage({kFc1, image.size(), c.code}, image);
    EXPECT_EQ(conversation.ask(kInsert), c.answer) << c.name;
    EXPECT_EQ(blocks.image(kFc1), c.answer == "28 | " ? image : before) << c.name;
  }
}

TEST(Download, ThatBreaksOffLeavesTheOldBlockWhole) {
  const struct {
    const char* name;
    const char* parameter;  // of the answer to the job for the second part
    Bytes data;
    Error error = Error::kNone;
  } cases[] = {
      {"an error", "1B", {}, Error::kWrongSequence},
      {"another answer", "1C", {}},
      {"a part that lies about its length", "1B 00", hex("00 05 00 FB 01 02")},
      {"an empty part", "1B 01", hex("00 00 00 FB")},
      {"another mark", "1B 01", hex("00 01 00 FA 01")},
      {"more than was announced", "1B 01", kFirstPart},
  };
  for (const auto& c : cases) {
    Downloader client;
    const Bytes before = client.plc.blocks.image(kFc1);
    EXPECT_EQ(client.answer(2, "1B 01", kFirstPart), "") << "to another job, ignored";
    EXPECT_NE(client.answer(1, "1B 01", kFirstPart), "") << "the job for the second part";
    EXPECT_EQ(client.ask(kInsert), "refused D2 09") << c.name << ", after one part";
    EXPECT_EQ(client.answer(2, c.parameter, c.data, c.error), "") << c.name;
    EXPECT_EQ(client.ask(kInsert), "refused D2 09") << c.name;
    EXPECT_EQ(client.plc.blocks.image(kFc1), before) << c.name;
  }
}

// Wherever they are: in use, downloaded only, or on their way.
TEST(Download, AllBlocksShareOneRoom) {
  Plc plc({});
  const BlockStore::Announcement announced{kFc1, 900'000, 65'000};
  std::vector<BlockStore::Hold> holds;
  const auto fill = [&] {
    const std::size_t before = holds.size();
    while (holds.size() < 100) {
      try {
        holds.push_back(plc.blocks.announce(announced));
      } catch (const Refusal& refused) {
        EXPECT_EQ(refused.error, Error::kOutOfMemory);
        break;
      }
    }
    return holds.size() - before;
  };
  EXPECT_EQ(fill(), BlockStore::kRoom / 900'400);
  holds.erase(holds.begin() + 30, holds.end());
  for (std::uint16_t number = 100; number < 128; ++number) {
    plc.memory.create_data_block(number, 65'000);  // 2 of the large ones together
  }
  EXPECT_EQ(fill(), 5u);
  holds.erase(holds.begin() + 30, holds.end());
  plc.blocks.stage(announced, Bytes(announced.image_length));
  EXPECT_EQ(fill(), 4u) << "downloaded, and not in use yet";
}

}  // namespace
}  // namespace plexum::sim
