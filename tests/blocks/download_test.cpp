#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include "support/link_fixture.h"

namespace plexum {
namespace {

using test::bytes;
using test::error_of;
using test::hex;

std::string word(std::size_t value) {
  return {static_cast<char>(value / 256), static_cast<char>(value % 256)};
}

// A DB 12 of `length` bytes whose code section has 0x0102 bytes.
std::string image_of(std::size_t length) {
  std::string image;
  for (std::size_t i = 0; i < length; ++i) image += static_cast<char>(i * 7 + i / 256);
  return image.replace(5, 3, bytes("0A 00 0C")).replace(34, 2, bytes("01 02"));
}

class Download : public test::LinkFixture {
 protected:
  // Connects to a PLC that acknowledges at once, then after a pause sends its first job, and one
  // job more for each part, the last of them being download ended.
  void connect_to_plc() {
    connect();
    jobs_ = 0;
    tcp_client.on_send = [this](const std::string& telegram) {
      const char function = telegram[telegram[8] == '\x01' ? 17 : 19];
      if (function == '\x1A' || function == '\x28') tcp_client.available = std::string(20, '\0');
      if (function == '\x1A' || function == '\x1B') after_pause_ = job(jobs_++);
    };
    environment.on_wait = [this](std::uint32_t ms) {
      tcp_client.available += after_pause_;
      after_pause_.clear();
      return ms;
    };
  }

  // Each job has a reference of its own, across the carry of its bytes.
  static std::string reference(std::size_t job) { return word(0xA0FE + job); }
  static std::string job(std::size_t number) {
    return std::string(35, '\x1B').replace(11, 2, reference(number));
  }

 private:
  std::size_t jobs_ = 0;
  std::string after_pause_;
};

TEST_F(Download, TheDialogue) {
  struct Case {
    std::size_t length;
    std::size_t parts;
    const char* length_text;
  };
  for (const Case& c : {Case{36, 1, "000036"},
                        {222, 1, "000222"},
                        {444, 2, "000444"},
                        {500, 3, "000500"},
                        {70000, 316, "070000"}}) {
    SCOPED_TRACE(c.length);
    connect_to_plc();
    link.auftrag_Fehler(9);
    const std::string image = image_of(c.length);
    EXPECT_TRUE(link.pg_WriteBlock(image).is_empty());

    std::vector<std::string> expected = {
        bytes("03 00 00 31 02 F0 80 32 01 00 00 0D 00 00 20 00 00 1A 00 01 00 00 00 00 00 09 5F") +
        "0A00012P\x0D"
        "1" +
        c.length_text + "000258"};
    for (std::size_t part = 0; part < c.parts; ++part) {
      const std::string data = image.substr(222 * part, 222);
      expected.push_back(bytes("03 00") + word(data.size() + 25) + bytes("02 F0 80 32 03 00 00") +
                         reference(part) + bytes("00 02") + word(data.size() + 4) +
                         bytes("00 00 1B") + (data.size() == 222 ? '\x01' : '\x00') +
                         word(data.size()) + bytes("00 FB") + data);
    }
    expected.push_back(bytes("03 00 00 14 02 F0 80 32 03 00 00") + reference(c.parts) +
                       bytes("00 01 00 00 00 00 1C"));
    expected.push_back(
        bytes("03 00 00 2B 02 F0 80 32 01 00 00 0C 00 00 1A 00 00 28 00 00 00 00 00 00 FD 00 0A "
              "01 00") +
        "0A00012P\x05_INSE");
    ASSERT_EQ(tcp_client.sent.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
      ASSERT_EQ(hex(tcp_client.sent[i]), hex(expected[i])) << i;
    }
    EXPECT_EQ(state(), "0 idle s7init 0 Read Wait Data");
    EXPECT_EQ(static_cast<std::size_t>(environment.waits), c.parts + 1);
    EXPECT_EQ(static_cast<std::size_t>(environment.pumps), c.parts + 1);
    EXPECT_TRUE(environment.boxes.empty());
  }
}

TEST_F(Download, AnUnknownTypeInTheHeaderIsLeftOut) {
  connect_to_plc();
  link.pg_WriteBlock(image_of(36).replace(5, 3, bytes("09 FF FF")));
  EXPECT_EQ(tcp_client.sent.front().substr(27), std::string("65535P\x0D") + "1000036000258");
  EXPECT_EQ(tcp_client.sent.back().substr(29), "65535P\x05_INSE");
}

TEST_F(Download, AJobThatEndsInItsReferenceIsAnsweredAtFullLength) {
  struct Lying : test::ScriptedTcpClient {
    std::int32_t BytesReceived() override { return 35; }
    std::string GetData() override { return std::string(12, '\xAB'); }
  } lying;
  lying.state = kTcpConnected;
  PlexumLink other(environment, lying);
  other.s7init(true);
  error_of([&] { other.pg_WriteBlock(image_of(36)); });
  EXPECT_EQ(hex(lying.sent.at(1).substr(11, 2)), "AB 00");
  EXPECT_EQ(lying.sent[1].size(), 25u + 36);
}

TEST_F(Download, AnImageWithoutItsHeaderIsNotSent) {
  for (const std::size_t length : {0u, 5u, 7u, 35u}) {
    connect();
    EXPECT_EQ(error_of([&] { link.pg_WriteBlock(image_of(36).substr(0, length)); }),
              kInvalidArgument);
    EXPECT_EQ(state(), "0 inuse s7init 0 Send/Receive Ready") << length;
    EXPECT_TRUE(tcp_client.sent.empty());
  }
}

TEST_F(Download, WhatEachPhaseEndsInWhenThePlcFails) {
  struct Case {
    const char* description;
    std::size_t telegram;  // the PLC answers this telegram otherwise
    std::string answer;
    std::int16_t tcp_state;
    std::int32_t error;
    int waits;
    const char* state;
  };
  const auto answer = [](const char* error, std::size_t length) {
    return (std::string(17, '\0') + bytes(error)).append(length - 19, '\0');
  };
  const std::int16_t stands = kTcpConnected;
  const std::int16_t lost = kTcpPeerClosing;
  const Case cases[] = {
      {"refused at length: no job follows", 1, answer("81 04", 20), stands, kInvalidArgument, 6,
       "0 inuse s7init 0 Read Exit"},
      {"acknowledged, lost", 1, answer("00 00", 20), lost, 0, 6, "3 idle no-s7init 0 Read Exit"},
      {"no second job", 2, "", stands, kInvalidArgument, 302, "0 idle s7init 0 Read Exit"},
      {"part refused", 2, answer("D2 41", 34), stands, 0, 302, "21065 idle no-s7init 0 Read Exit"},
      {"error code 0", 2, answer("00 00", 34), stands, 0, 302, "0 idle no-s7init 0 Read Exit"},
      {"second part lost", 3, "", lost, 0, 303, "3 idle no-s7init 0 Read Exit"},
      {"insert refused", 5, answer("85 00", 19), stands, 0, 9, "1330 idle no-s7init 0 Read Exit"},
      {"at length", 5, answer("D4 01", 20), stands, 0, 3, "2121 idle s7init 0 Read Wait Data"},
      {"insert, silence", 5, "", stands, kInvalidArgument, 9, "0 idle s7init 0 Read Exit"},
      {"closed behind it", 5, answer("00 00", 20), lost, 0, 3, "0 idle s7init 0 Read Wait Data"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.description);
    connect_to_plc();
    const auto usual = tcp_client.on_send;
    tcp_client.on_send = [&](const std::string& telegram) {
      if (tcp_client.sent.size() < c.telegram) return usual(telegram);
      tcp_client.available = c.answer;
      tcp_client.state = c.tcp_state;
    };
    EXPECT_EQ(error_of([&] { EXPECT_TRUE(link.pg_WriteBlock(image_of(300)).is_empty()); }),
              c.error);
    EXPECT_EQ(tcp_client.sent.size(), c.telegram) << "nothing follows a time-out";
    EXPECT_EQ(environment.waits, c.waits);
    EXPECT_EQ(state(), c.state);
    EXPECT_TRUE(environment.boxes.empty());
  }
}

TEST_F(Download, ARefusalOfTheRequestIsShown) {
  connect();
  tcp_client.answers = {std::string(17, '\0') + bytes("D2 09")};
  link.pg_WriteBlock(image_of(36));
  EXPECT_EQ(environment.boxes, (std::vector<std::string>{"210", "9"}));
  connect();
  tcp_client.answers = {std::string(17, '\0') + bytes("D2")};
  EXPECT_EQ(error_of([&] { link.pg_WriteBlock(image_of(36)); }), kInvalidArgument);
  EXPECT_EQ(environment.boxes, std::vector<std::string>{"210"}) << "shown before the code is read";
}

TEST_F(Download, SixtyTimesTheLongestTzeitIsStillALimit) {
  connect_to_plc();
  link.Tzeit(std::numeric_limits<std::int32_t>::max());
  link.pg_WriteBlock(image_of(444));
  EXPECT_EQ(state(), "0 idle s7init 0 Read Wait Data");
}

}  // namespace
}  // namespace plexum
