#include <gtest/gtest.h>

#include "sim/block_store.h"
#include "tests/sim/scenario.h"

namespace plexum::sim {
namespace {

constexpr std::size_t kFrame = 7;  // TPKT and COTP
constexpr std::size_t kPart = 222;

std::string six_digits(std::size_t number) {
  const std::string digits = std::to_string(number);
  return std::string(6 - digits.size(), '0') + digits;
}

// An image of `size` bytes: all of it header, code and, where asked for, something behind them.
Bytes image_of(const BlockId& id, std::size_t size, std::size_t behind_code = 0) {
  Writer writer;
  writer.bytes(hex("70 70 01 01 05")).u8(static_cast<std::size_t>(id.type)).u16(id.number);
  writer.u32(size).zeros(22).u16(size - BlockHeader::kSize - behind_code);
  for (std::size_t i = BlockHeader::kSize; i < size; ++i) writer.u8(i * 7);
  return writer.take();
}

// A client that talks to a session in messages.
struct Client : Conversation {
  using Conversation::Conversation;

  // The messages that `message` is answered with, parsed.
  std::vector<Message> exchange(const Message& message) {
    std::vector<Message> answers;
    for (const Output& output : session.receive(wrap_message(build_message(message)))) {
      answers.push_back(parse_message(ByteView(output.bytes).subspan(kFrame)));
    }
    return answers;
  }

  Error invoke(const std::string& service, const BlockId& id) {
    const Bytes parameter =
        hex("28 00 00 00 00 00 00 FD 00 0A 01 00 '" + id.designation() + "P' 05 '" + service + "'");
    return exchange({MessageType::kJob, 0x0C00, Error::kNone, parameter, {}}).at(0).error;
  }

  std::vector<Message> request_download(const BlockId& id, std::size_t size, std::size_t code) {
    const Bytes parameter = hex("1A 00 01 00 00 00 00 00 09 '_" + id.designation() + "P' 0D '1" +
                                six_digits(size) + six_digits(code) + "'");
    return exchange({MessageType::kJob, 0x0D00, Error::kNone, parameter, {}});
  }

  std::vector<Message> answer_part(const Message& job, ByteView part, bool marked) {
    return exchange({MessageType::kAckData, job.reference, Error::kNone,
                     Writer().u8(0x1B).u8(marked ? 1 : 0).take(),
                     Writer().u16(part.size()).u16(0xFB).bytes(part).take()});
  }

  // The whole dialogue, as far as it goes; the last error.
  Error download(const BlockId& id, const Bytes& image) {
    std::vector<Message> said =
        request_download(id, image.size(), static_cast<std::size_t>(image[34] << 8 | image[35]));
    if (said.at(0).error != Error::kNone) return said[0].error;
    Message job = said.at(1);
    ByteView left(image);
    while (job.function() == Function::kDownloadBlock) {
      const ByteView part = left.first(std::min(kPart, left.size()));
      left = left.subspan(part.size());
      // Every full part is marked as followed by others, the last one too.
      job = answer_part(job, part, part.size() == kPart).at(0);
    }
    EXPECT_EQ(job.function(), Function::kDownloadEnded);
    EXPECT_TRUE(left.empty());
    EXPECT_TRUE(
        exchange({MessageType::kAckData, job.reference, Error::kNone, hex("1C"), {}}).empty());
    return invoke("_INSE", id);
  }

  // The image, or nothing and the error in `error`.
  Bytes upload(const BlockId& id, Error* error = nullptr) {
    const Bytes start = hex("1D 00 00 00 00 00 00 00 09 '_" + id.designation() + "A'");
    const Message started = exchange({MessageType::kJob, 0, Error::kNone, start, {}}).at(0);
    if (error != nullptr) *error = started.error;
    if (started.error != Error::kNone) return {};
    const Bytes upload_id(started.parameter.begin() + 4, started.parameter.begin() + 8);
    const auto job = [&](const char* function) {
      return Message{MessageType::kJob,
                     1,
                     Error::kNone,
                     Writer().bytes(hex(function)).bytes(upload_id).take(),
                     {}};
    };
    Bytes image;
    for (bool more = true; more;) {
      const Message part = exchange(job("1E 00 00 00")).at(0);
      EXPECT_LE(part.size(), 240u);
      more = part.parameter.at(1) == 1;
      image.insert(image.end(), part.data.begin() + 4, part.data.end());
    }
    EXPECT_EQ(exchange(job("1F 00 00 00")).at(0).parameter, hex("1F"));
    return image;
  }
};

constexpr BlockId kDb5{BlockType::kData, 5};
constexpr BlockId kFc1{BlockType::kFunction, 1};

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
  struct Case {
    const char* name;
    const char* job;
    const char* answer;
  };
  const Case cases[] = {
      {"no such block", "1D 00 00 00 00 00 00 00 09 '_0C00099A'", "refused D2 09"},
      {"no such DB", "1D 00 00 00 00 00 00 00 09 '_0A00011A'", "refused D2 09"},
      {"the CPU's own", "1D 00 00 00 00 00 00 00 09 '_0D00001A'", "refused 87 03"},
      {"unknown type", "1D 00 00 00 00 00 00 00 09 '_0900001A'", "refused D2 01"},
      {"short number", "1D 00 00 00 00 00 00 00 09 '_0C0001A'", "refused D2 01"},
      {"part of nothing", "1E 00 00 00 00 00 00 63", "refused 84 01"},
      {"end of nothing", "1F 00 00 00 00 00 00 63", "refused 84 01"},
  };
  Conversation conversation;
  for (const Case& c : cases) EXPECT_EQ(conversation.job(c.job), c.answer) << c.name;

  for (int i = 0; i < 3; ++i) conversation.job("1D 00 00 00 00 00 00 00 09 '_0C00001A'");
  EXPECT_EQ(conversation.job("1D 00 00 00 00 00 00 00 09 '_0C00001A'"), "refused 83 04");
  conversation.job("1E 00 00 00 00 00 00 01");
  EXPECT_EQ(conversation.job("1E 00 00 00 00 00 00 01"), "refused 84 01") << "beyond its end";
}

TEST(Upload, ADataBlockCarriesItsActualValues) {
  Client client;
  client.job("05 01 12 0A 10 02 00 02 00 05 84 00 00 50", "00 04 00 10 BE EF");
  const Bytes image = client.upload(kDb5);
  EXPECT_EQ(image.size(), 36u + 1024 + 36);
  EXPECT_EQ(dump(ByteView(image).subspan(36 + 9, 4)), "00 BE EF 00");
  EXPECT_EQ(parse_block_header(image).code_length, 1024u);
}

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
    Client client;
    EXPECT_EQ(client.download(id, image), Error::kNone) << size;
    EXPECT_EQ(client.upload(id), image) << size;
  }
}

TEST(Download, BringsBackEveryBlockOfTheStore) {
  Client client;
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
    Client client;
    const Bytes before = client.upload(kFc1);
    EXPECT_EQ(client.download(kFc1, c.image), c.error) << c.name;
    EXPECT_EQ(client.upload(kFc1), c.error == Error::kNone ? good : before) << c.name;
  }
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
    void (*break_off)(Client&, const Message& job, ByteView image);
  };
  const Case cases[] = {
      {"the client says no more", [](Client&, const Message&, ByteView) {}},
      {"after one part", [](Client& client, const Message& job,
                            ByteView part) { client.answer_part(job, part.first(kPart), true); }},
      {"an error for a part",
       [](Client& client, const Message& job, ByteView) {
         EXPECT_TRUE(
             client
                 .exchange(
                     {MessageType::kAckData, job.reference, Error::kWrongSequence, hex("1B"), {}})
                 .empty());
       }},
      {"another answer",
       [](Client& client, const Message& job, ByteView) {
         EXPECT_TRUE(
             client.exchange({MessageType::kAckData, job.reference, Error::kNone, hex("1C"), {}})
                 .empty());
       }},
      {"a part that lies about its length",
       [](Client& client, const Message& job, ByteView) {
         EXPECT_TRUE(client
                         .exchange({MessageType::kAckData, job.reference, Error::kNone,
                                    hex("1B 00"), hex("00 05 00 FB 01 02")})
                         .empty());
       }},
      {"an empty part", [](Client& client, const Message& job,
                           ByteView) { EXPECT_TRUE(client.answer_part(job, {}, true).empty()); }},
      {"more than was announced",
       [](Client& client, const Message& job, ByteView part) {
         const Message second = client.answer_part(job, part.first(kPart), true).at(0);
         const Message third = client.answer_part(second, part.first(kPart), true).at(0);
         EXPECT_TRUE(client.answer_part(third, part.first(kPart), true).empty());
       }},
  };
  for (const Case& c : cases) {
    Client client;
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
  Client client;
  Message job = client.request_download(kDb5, 500, 464).at(1);
  job.reference += 1;
  EXPECT_TRUE(client.answer_part(job, hex("01"), true).empty());
  job.reference -= 1;
  EXPECT_EQ(client.answer_part(job, hex("01"), true).size(), 1u);
}

TEST(Download, ForgetsNothingWhenProtected) {
  Options options;
  options.write_protected = true;
  Client client(options);
  EXPECT_EQ(client.download(kDb5, image_of(kDb5, 100)), Error::kProtected);
  Error error = Error::kNone;
  client.upload(kDb5, &error);
  EXPECT_EQ(error, Error::kProtected);
}

TEST(Download, KeepsABoundedAmountOfBlocksThatNobodyInserts) {
  Client client;
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

TEST(BlockLists, CountAndListByType) {
  const std::string list = "00 01 12 04 11 43 02 00";
  Client client;
  EXPECT_EQ(client.userdata("00 01 12 04 11 43 01 00", "0A 00 00 00"),
            expected("00 01 12 08 12 83 01 01 00 00 00 00 | FF 09 00 1C '08' 00 01 '0E' 00 01 "
                     "'0C' 00 02 '0A' 00 0A '0B' 00 05 '0D' 00 47 '0F' 00 0E"));
  EXPECT_EQ(client.userdata(list, "FF 09 00 02 '0C'"),
            expected("00 01 12 08 12 83 02 01 00 00 00 00 | FF 09 00 08 00 01 22 01 00 02 22 01"));
  EXPECT_EQ(client.userdata(list, "FF 09 00 02 '0B'"),
            expected("00 01 12 08 12 83 02 01 00 00 00 00 | FF 09 00 14 "
                     "00 00 22 07 00 01 22 07 00 02 22 07 00 04 22 07 00 07 22 07"));
  client.invoke("_DELE", kFc1);
  EXPECT_EQ(client.userdata(list, "FF 09 00 02 '0C'"),
            expected("00 01 12 08 12 83 02 01 00 00 00 00 | FF 09 00 04 00 02 22 01"));
  client.invoke("_DELE", {BlockType::kFunction, 2});
  EXPECT_EQ(client.say(MessageType::kUserdata, list, "FF 09 00 02 '0C'"),
            dump("03 00 00 21 02 F0 80 32 07 00 00 02 00 00 0C 00 04 |"
                 "00 01 12 08 12 83 02 00 00 00 D2 0E 0A 00 00 00"))
      << "33 bytes when there is none";
  EXPECT_EQ(client.userdata(list, "FF 09 00 02 '09'"),
            "00 01 12 08 12 83 02 00 00 00 D2 01 | 0A 00 00 00");
}

TEST(BlockLists, ComeInPartsWhenTheyAreLong) {
  const std::string list = "00 01 12 04 11 43 02 00";
  Conversation conversation;
  const std::string first = conversation.userdata(list, "FF 09 00 02 '0D'");
  EXPECT_TRUE(first.starts_with(
      "00 01 12 08 12 83 02 01 01 01 00 00 | FF 09 00 D0 00 00 42 01 00 01 42 01 00 02 42 01"))
      << first;
  const std::string second =
      conversation.userdata("00 01 12 08 12 43 02 01 00 00 00 00", "0A 00 00 00");
  EXPECT_TRUE(second.starts_with("00 01 12 08 12 83 02 01 01 00 00 00 | FF 09 00 4C 00 45 42 01"))
      << second;
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
