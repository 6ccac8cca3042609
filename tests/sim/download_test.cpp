#include "sim/download.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "support/block_images.h"
#include "tests/sim/scenario.h"

namespace plexum::sim {
namespace {

constexpr BlockId kFc1{BlockType::kFunction, 1};
constexpr const char* kInsert = "28 00 00 00 00 00 00 FD 00 0A 01 00 '0C00001P' 05 '_INSE'";
constexpr std::size_t kPart = 222;  // of an image, in bytes

Bytes image_of_fc1(std::size_t size) {
  const std::string image = test::block_image(0x0C, 1, size);
  return {image.begin(), image.end()};
}

// The data of an answer to the PLC's job for a part.
Bytes part(ByteView bytes) { return Writer().u16(bytes.size()).u16(0xFB).bytes(bytes).take(); }

// A client that begins to download FC 1, in messages.
struct Downloader : Conversation {
  // The messages that `message` is answered with, parsed.
  std::vector<Message> replies_to(const Message& message) {
    constexpr std::size_t kFrame = 7;
    std::vector<Message> answers;
    for (const Output& output : connection.receive(wrap_message(build_message(message)))) {
      answers.push_back(parse_message(ByteView(output.bytes).subspan(kFrame)));
    }
    return answers;
  }

  // The PLC's acknowledgement, and its job for the first part. Lengths of three digits.
  std::vector<Message> request(std::size_t size, std::size_t code) {
    const Bytes parameter = hex("1A 00 01 00 00 00 00 00 09 '_0C00001P' 0D '1000" +
                                std::to_string(size) + "000" + std::to_string(code) + "'");
    return replies_to({MessageType::kJob, 0x0D00, Error::kNone, parameter, {}});
  }

  std::vector<Message> answer(const Message& job, std::string_view parameter, Bytes data = {},
                              Error error = Error::kNone) {
    return replies_to(
        {MessageType::kAckData, job.reference, error, hex(parameter), std::move(data)});
  }
};

// The bytes of a whole dialogue: what the client says, what the PLC answers.
TEST(Download, IsADialogueAsWithACpu) {
  struct Step {
    const char* client;
    const char* plc;
  };
  const Step steps[] = {
      // clang-format off
      // A data block of 4 bytes in an image of 40; the PLC's first job comes after a pause.
      {"03 00 00 31 02 F0 80 32 01 00 00 0D 00 00 20 00 00 | 1A 00 01 00 00 00 00 00 09 '_0A00012P' 0D '1000040000004'",
       "03 00 00 14 02 F0 80 32 03 00 00 0D 00 00 01 00 00 00 00 | 1A"
       "/03 00 00 23 02 F0 80 32 01 00 00 00 01 00 12 00 00 | 1B 00 00 00 00 00 00 00 09 '_0A00012P'"},
      {"03 00 00 41 02 F0 80 32 03 00 00 00 01 00 02 00 2C 00 00 | 1B 00 | 00 28 00 FB |"
       "70 70 01 01 05 0A 00 0C 00 00 00 28 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 04 CA FE BA BE",
       "03 00 00 23 02 F0 80 32 01 00 00 00 02 00 12 00 00 | 1C 00 00 00 00 00 00 00 09 '_0A00012P'"},
      {"03 00 00 14 02 F0 80 32 03 00 00 00 02 00 01 00 00 00 00 | 1C", ""},
      {"03 00 00 2B 02 F0 80 32 01 00 00 0C 00 00 1A 00 00 | 28 00 00 00 00 00 00 FD 00 0A 01 00 '0A00012P' 05 '_INSE'",
       "03 00 00 14 02 F0 80 32 03 00 00 0C 00 00 01 00 00 00 00 | 28"},
      // And it can be read.
      {"03 00 00 1F 02 F0 80 32 01 00 00 02 00 00 0E 00 00 | 04 01 12 0A 10 02 00 04 00 0C 84 00 00 00",
       "03 00 00 1D 02 F0 80 32 03 00 00 02 00 00 02 00 08 00 00 | 04 01 FF 04 00 20 CA FE BA BE"},
      // clang-format on
  };
  Conversation conversation;
  for (const Step& step : steps) {
    std::string answer = step.plc;
    const std::size_t own_job = answer.find('/');
    answer = own_job == std::string::npos
                 ? dump(answer)
                 : dump(answer.substr(0, own_job)) + " / +20ms " + dump(answer.substr(own_job));
    EXPECT_EQ(conversation.say(step.client), answer);
  }
}

TEST(Download, RefusesAnnouncementsThatItCannotTake) {
  const JobCase cases[] = {
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
  Conversation().expect_answers(cases);
}

TEST(Download, PutsIntoUseOnlyWhatWasAnnounced) {
  struct Case {
    const char* name;
    std::size_t position;
    std::uint8_t value;  // of the image's byte there
    std::size_t code;
    std::string answer;
  };
  const Case cases[] = {
      {"no header", 0, 0x71, 264, "refused D2 26"},
      {"another type", 5, 0x0A, 264, "refused D2 26"},
      {"another number", 7, 2, 264, "refused D2 10"},
      {"another length", 11, 99, 264, "refused D2 19"},
      {"sections beyond its end", 29, 1, 264, "refused D2 19"},
      {"another code length", 0, 0x70, 263, "refused D2 19"},
      {"as announced", 0, 0x70, 264, "28 | "},
  };
  for (const Case& c : cases) {
    Conversation conversation;
    BlockStore& blocks = conversation.plc.blocks;
    const Bytes before = blocks.image(kFc1);
    Bytes image = image_of_fc1(300);
    image[c.position] = c.value;
    blocks.stage({kFc1, image.size(), c.code}, image);
    EXPECT_EQ(conversation.job(kInsert), c.answer) << c.name;
    EXPECT_EQ(blocks.image(kFc1), c.answer == "28 | " ? image : before) << c.name;
  }
}

TEST(Download, ThatBreaksOffLeavesTheOldBlockWhole) {
  const Bytes first_part = part(image_of_fc1(kPart));
  struct Case {
    const char* name;
    const char* parameter;  // of the answer to the job for the second part
    Bytes data;
    Error error = Error::kNone;
  };
  const Case cases[] = {
      {"an error", "1B", {}, Error::kWrongSequence},
      {"another answer", "1C", {}},
      {"a part that lies about its length", "1B 00", hex("00 05 00 FB 01 02")},
      {"an empty part", "1B 01", hex("00 00 00 FB")},
      {"more than was announced", "1B 01", first_part},
  };
  for (const Case& c : cases) {
    Downloader client;
    const Bytes before = client.plc.blocks.image(kFc1);
    const Message job = client.request(300, 264).at(1);
    const Message second = client.answer(job, "1B 01", first_part).at(0);
    EXPECT_EQ(client.job(kInsert), "refused D2 09") << c.name << ", after one part";
    EXPECT_TRUE(client.answer(second, c.parameter, c.data, c.error).empty()) << c.name;
    EXPECT_EQ(client.job(kInsert), "refused D2 09") << c.name;
    EXPECT_EQ(client.plc.blocks.image(kFc1), before) << c.name;
  }
}

TEST(Download, IgnoresAnswersWithAnotherReference) {
  Downloader client;
  const Message job = client.request(300, 264).at(1);
  Message other = job;
  ++other.reference;
  EXPECT_TRUE(client.answer(other, "1B 01", part(hex("01"))).empty());
  EXPECT_EQ(client.answer(job, "1B 01", part(hex("01"))).size(), 1u);
}

TEST(Download, KeepsABoundedAmountOfBlocksThatNobodyInserts) {
  Plc plc({});
  BlockStore::Announcement announced{kFc1, 900'000, 100};
  for (; announced.id.number <= 4; ++announced.id.number) {
    EXPECT_NO_THROW(plc.blocks.check_announcement(announced));
    plc.blocks.stage(announced, Bytes(announced.image_length));
  }
  EXPECT_THROW(plc.blocks.check_announcement(announced), Refusal);
}

}  // namespace
}  // namespace plexum::sim
