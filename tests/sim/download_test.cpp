#include "sim/download.h"

#include <gtest/gtest.h>

#include "tests/sim/block_client.h"

namespace plexum::sim {
namespace {

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

TEST(Download, BringsBackImagesOfAnySize) {
  for (const std::size_t size : {36u, 37u, 221u, 222u, 223u, 444u, 500u, 1234u, 60000u}) {
    const BlockId id{size % 2 == 0 ? BlockType::kData : BlockType::kFunction, 77};
    const Bytes image = image_of(id, size);
    BlockClient client;
    EXPECT_EQ(client.download(id, image), Error::kNone) << size;
    EXPECT_EQ(client.upload(id), image) << size;
  }
}

TEST(Download, BringsBackEveryBlockOfTheStore) {
  BlockClient client;
  std::size_t blocks = 0;
  for (const BlockType type : {BlockType::kOrganisation, BlockType::kData, BlockType::kSystemData,
                               BlockType::kFunction, BlockType::kFunctionBlock}) {
    for (const BlockStore::Entry& entry : client.plc.blocks.list(type)) {
      const BlockId id{type, entry.number};
      const Bytes image = client.upload(id);
      EXPECT_EQ(client.invoke("_DELE", id), Error::kNone);
      Error error = Error::kNone;
      client.upload(id, &error);
      EXPECT_EQ(error, Error::kNoSuchBlock);
      EXPECT_EQ(client.download(id, image), Error::kNone);
      EXPECT_EQ(client.upload(id), image) << id.designation();
      ++blocks;
    }
  }
  EXPECT_EQ(blocks, 1u + 10 + 5 + 2 + 1);
}

TEST(Download, RefusesImagesThatAreNotWhatWasAnnounced) {
  const Bytes good = image_of(kFc1, 100);
  const auto changed = [&](std::size_t position, std::uint8_t to) {
    Bytes image = good;
    image[position] = to;
    return image;
  };
  struct Case {
    const char* name;
    Bytes image;
    Error error;
  };
  const Case cases[] = {
      {"no header", changed(0, 0x71), Error::kBlockStructure},
      {"another type", changed(5, 0x0A), Error::kBlockStructure},
      {"another number", changed(7, 2), Error::kBlockNumber},
      {"another length", changed(11, 99), Error::kBlockLengths},
      {"sections beyond its end", changed(29, 1), Error::kBlockLengths},
      {"as good", good, Error::kNone},
  };
  for (const Case& c : cases) {
    BlockClient client;
    const Bytes before = client.upload(kFc1);
    EXPECT_EQ(client.download(kFc1, c.image), c.error) << c.name;
    EXPECT_EQ(client.upload(kFc1), c.error == Error::kNone ? good : before) << c.name;
  }
  BlockClient client;
  EXPECT_EQ(client.download(kFc1, good, 63), Error::kBlockLengths) << "another code length";
}

TEST(Download, RefusesAnnouncementsThatItCannotTake) {
  struct Case {
    const char* name;
    const char* job;
    const char* answer;
  };
  const Case cases[] = {
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
  Conversation conversation;
  for (const Case& c : cases) EXPECT_EQ(conversation.job(c.job), c.answer) << c.name;
}

TEST(Download, ThatBreaksOffLeavesTheOldBlockWhole) {
  const Bytes image = image_of(kDb5, 500);
  const ByteView all(image);
  struct Case {
    const char* name;
    void (*break_off)(BlockClient&, const Message& job, ByteView image);
  };
  const Case cases[] = {
      {"the client says no more", [](BlockClient&, const Message&, ByteView) {}},
      {"after one part", [](BlockClient& client, const Message& job,
                            ByteView part) { client.answer_part(job, part.first(kPart), true); }},
      {"an error for a part",
       [](BlockClient& client, const Message& job, ByteView) {
         EXPECT_TRUE(
             client
                 .exchange(
                     {MessageType::kAckData, job.reference, Error::kWrongSequence, hex("1B"), {}})
                 .empty());
       }},
      {"another answer",
       [](BlockClient& client, const Message& job, ByteView) {
         EXPECT_TRUE(
             client.exchange({MessageType::kAckData, job.reference, Error::kNone, hex("1C"), {}})
                 .empty());
       }},
      {"a part that lies about its length",
       [](BlockClient& client, const Message& job, ByteView) {
         EXPECT_TRUE(client
                         .exchange({MessageType::kAckData, job.reference, Error::kNone,
                                    hex("1B 00"), hex("00 05 00 FB 01 02")})
                         .empty());
       }},
      {"an empty part", [](BlockClient& client, const Message& job,
                           ByteView) { EXPECT_TRUE(client.answer_part(job, {}, true).empty()); }},
      {"more than was announced",
       [](BlockClient& client, const Message& job, ByteView part) {
         const Message second = client.answer_part(job, part.first(kPart), true).at(0);
         const Message third = client.answer_part(second, part.first(kPart), true).at(0);
         EXPECT_TRUE(client.answer_part(third, part.first(kPart), true).empty());
       }},
  };
  for (const Case& c : cases) {
    BlockClient client;
    const Bytes before = client.upload(kDb5);
    const Message job = client.request_download(kDb5, 500, 464).at(1);
    c.break_off(client, job, all);
    EXPECT_EQ(client.invoke("_INSE", kDb5), Error::kNoSuchBlock) << c.name;
    EXPECT_EQ(client.upload(kDb5), before) << c.name;
    EXPECT_EQ(client.download(kDb5, image), Error::kNone) << c.name << ", and the next one";
    EXPECT_EQ(client.upload(kDb5), image) << c.name;
  }
}

TEST(Download, IgnoresAnswersWithAnotherReference) {
  BlockClient client;
  Message job = client.request_download(kDb5, 500, 464).at(1);
  job.reference += 1;
  EXPECT_TRUE(client.answer_part(job, hex("01"), true).empty());
  job.reference -= 1;
  EXPECT_EQ(client.answer_part(job, hex("01"), true).size(), 1u);
}

TEST(Download, ForgetsNothingWhenProtected) {
  Options options;
  options.write_protected = true;
  BlockClient client(options);
  EXPECT_EQ(client.download(kDb5, image_of(kDb5, 100)), Error::kProtected);
  Error error = Error::kNone;
  client.upload(kDb5, &error);
  EXPECT_EQ(error, Error::kProtected);
}

TEST(Download, KeepsABoundedAmountOfBlocksThatNobodyInserts) {
  BlockClient client;
  const auto stage = [&](std::uint16_t number) {
    const BlockId id{BlockType::kFunction, number};
    const std::vector<Message> said = client.request_download(id, 900'000, 100);
    if (said[0].error != Error::kNone) return said[0].error;
    client.plc.blocks.stage({id, 900'000, 100}, Bytes(900'000));
    return Error::kNone;
  };
  for (std::uint16_t number = 1; number <= 4; ++number) EXPECT_EQ(stage(number), Error::kNone);
  EXPECT_EQ(stage(5), Error::kOutOfMemory);
}

}  // namespace
}  // namespace plexum::sim
