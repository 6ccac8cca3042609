#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "sim/block_store.h"
#include "tests/sim/scenario.h"

namespace plexum::sim {

inline constexpr std::size_t kFrame = 7;   // TPKT and COTP
inline constexpr std::size_t kPart = 222;  // of an image, in bytes

inline std::string six_digits(std::size_t number) {
  const std::string digits = std::to_string(number);
  return std::string(6 - digits.size(), '0') + digits;
}

// An image of `size` bytes: all of it header, code and, where asked for, something behind them.
inline Bytes image_of(const BlockId& id, std::size_t size, std::size_t behind_code = 0) {
  Writer writer;
  writer.bytes(hex("70 70 01 01 05")).u8(static_cast<std::size_t>(id.type)).u16(id.number);
  writer.u32(size).zeros(22).u16(size - BlockHeader::kSize - behind_code);
  for (std::size_t i = BlockHeader::kSize; i < size; ++i) writer.u8(i * 7);
  return writer.take();
}

// A client that uploads and downloads blocks, in messages.
struct BlockClient : Conversation {
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

  // The whole dialogue, as far as it goes; the last error. Announces the code length that the
  // image has.
  Error download(const BlockId& id, const Bytes& image) {
    return download(id, image, static_cast<std::size_t>(image[34] << 8 | image[35]));
  }

  Error download(const BlockId& id, const Bytes& image, std::size_t code_length) {
    const std::vector<Message> said = request_download(id, image.size(), code_length);
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

inline constexpr BlockId kDb5{BlockType::kData, 5};
inline constexpr BlockId kFc1{BlockType::kFunction, 1};

}  // namespace plexum::sim
