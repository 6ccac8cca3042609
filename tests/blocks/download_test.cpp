#include <algorithm>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "support/link_fixture.h"

namespace plexum {
namespace {

using test::bytes;
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
  Download() { play(); }

  // The PLC's side: it acknowledges, then after a pause sends its first job, and one job more for
  // each part, the last of them being download ended; each has a reference of its own.
  void play() {
    tcp_client.on_send = [this](const std::string& telegram) {
      const char function = telegram[telegram[8] == '\x01' ? 17 : 19];
      if (function == '\x1A') {
        tcp_client.available = std::string(20, '\0');
        announced_ = std::stoul(telegram.substr(37, 6));
        received_ = 0;
        jobs_ = 0;
        after_pause_ = job();
      } else if (function == '\x1B') {
        received_ += telegram.size() - 25;
        tcp_client.available = job();
      } else if (function == '\x28') {
        tcp_client.available = insert_answer;
      }
    };
    environment.on_wait = [this](std::uint32_t ms) {
      tcp_client.available += after_pause_;
      after_pause_.clear();
      return ms;
    };
  }

  static std::string reference(std::size_t job) { return word(0xA0FE + job); }

  std::string job() {
    std::string telegram(35, '\x1B');
    return telegram.replace(11, 2, reference(jobs_++));
  }

  std::string insert_answer = std::string(20, '\0');

 private:
  std::size_t announced_ = 0;
  std::size_t received_ = 0;
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
                        {221, 1, "000221"},
                        {222, 1, "000222"},
                        {223, 2, "000223"},
                        {444, 2, "000444"},
                        {500, 3, "000500"},
                        {1234, 6, "001234"},
                        {60000, 271, "060000"},
                        {70000, 316, "070000"}}) {
    SCOPED_TRACE(c.length);
    link.ag_exit();
    tcp_client.answer_in_order();
    connect();
    play();
    link.auftrag_Fehler = 9;
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
    EXPECT_EQ(environment.waits, 1) << "for the first job";
    EXPECT_EQ(static_cast<std::size_t>(environment.pumps), c.parts + 1);
    EXPECT_TRUE(environment.boxes.empty());
  }
}

TEST_F(Download, TheTypeComesFromTheHeader) {
  struct Case {
    const char *type, *code;
  };
  for (const Case& c : {Case{"08", "30 38"}, {"0E", "30 45"}, {"09", ""}, {"00", ""}, {"FF", ""}}) {
    tcp_client.answer_in_order();
    tcp_client.state = kTcpClosed;
    connect();
    play();
    std::string image = image_of(40).replace(5, 3, bytes(c.type) + bytes("FF FF"));
    link.pg_WriteBlock(image);
    EXPECT_EQ(tcp_client.sent.front().substr(27, tcp_client.sent.front().size() - 42),
              bytes(c.code) + "65535");
    EXPECT_EQ(tcp_client.sent.back().substr(29), bytes(c.code) + "65535P\x05_INSE");
    EXPECT_EQ(link.err, 0);
  }
}

TEST_F(Download, AnImageWithoutItsHeaderIsNotSent) {
  for (const std::size_t length : {0u, 5u, 6u, 7u, 34u, 35u}) {
    tcp_client.answer_in_order();
    tcp_client.state = kTcpClosed;
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
    std::vector<std::string> boxes;
  };
  const auto answer = [](const char* error, std::size_t length = 19) {
    std::string header(std::max<std::size_t>(length, 19), '\0');
    return header.replace(17, 2, bytes(error)).substr(0, length);
  };
  const Case cases[] = {
      {"refused", 1, answer("D2 09"), 7, 0, 6, "2109 idle no-s7init 0 Read Exit", {"210", "9"}},
      {"refused without an error",
       1,
       answer("00 00"),
       7,
       0,
       6,
       "0 idle no-s7init 0 Read Exit",
       {"0", "0"}},
      {"silence", 1, "", 7, kInvalidArgument, 6, "0 inuse s7init 0 Read Exit", {}},
      {"18 bytes",
       1,
       answer("D2 09", 18),
       7,
       kInvalidArgument,
       6,
       "0 inuse s7init 0 Read Exit",
       {"210"}},
      {"lost", 1, "", 9, 0, 6, "3 idle no-s7init 0 Read Exit", {}},
      {"refused at length: no job follows",
       1,
       answer("81 04", 20),
       7,
       kInvalidArgument,
       6,
       "0 inuse s7init 0 Read Exit",
       {}},
      {"acknowledged, then lost",
       1,
       answer("00 00", 20),
       8,
       0,
       6,
       "3 idle no-s7init 0 Read Exit",
       {}},
      {"no second job", 2, "", 7, kInvalidArgument, 302, "0 idle s7init 0 Read Exit", {}},
      {"refused part", 2, answer("D2 41", 34), 7, 0, 302, "21065 idle no-s7init 0 Read Exit", {}},
      {"an error code 0", 2, answer("00 00", 34), 7, 0, 302, "0 idle no-s7init 0 Read Exit", {}},
      {"lost before the second part", 2, "", 8, 0, 302, "3 idle no-s7init 0 Read Exit", {}},
      {"lost before the third job", 3, "", 9, 0, 302, "3 idle no-s7init 0 Read Exit", {}},
      {"insert refused at length",
       5,
       answer("D4 01", 20),
       7,
       0,
       1,
       "2121 idle s7init 0 Read Wait Data",
       {}},
      {"insert refused", 5, answer("85 00"), 7, 0, 7, "1330 idle no-s7init 0 Read Exit", {}},
      {"insert, silence", 5, "", 7, kInvalidArgument, 7, "0 idle s7init 0 Read Exit", {}},
      {"insert, lost", 5, "", 9, 0, 7, "3 idle no-s7init 0 Read Exit", {}},
      {"insert, and closed behind it",
       5,
       answer("00 00", 20),
       8,
       0,
       1,
       "0 idle s7init 0 Read Wait Data",
       {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.description);
    tcp_client.answer_in_order();
    link.ag_exit();
    link.err = 0;
    connect();
    environment.boxes.clear();
    play();
    const auto played = tcp_client.on_send;
    tcp_client.on_send = [&](const std::string& telegram) {
      if (tcp_client.sent.size() < c.telegram) return played(telegram);
      tcp_client.available = c.answer;
      tcp_client.state = c.tcp_state;
    };
    EXPECT_EQ(error_of([&] { EXPECT_TRUE(link.pg_WriteBlock(image_of(300)).is_empty()); }),
              c.error);
    EXPECT_EQ(tcp_client.sent.size(), c.telegram) << "nothing follows a time-out";
    EXPECT_EQ(environment.waits, c.waits);
    EXPECT_EQ(state(), c.state);
    EXPECT_EQ(environment.boxes, c.boxes);
    // A connection that stood at the end of a raised error is found closed by the next job.
    tcp_client.state = kTcpClosed;
    link.err = 0;
    link.s7init = false;
    tcp_client.answer_in_order();
    connect();
    play();
    EXPECT_TRUE(link.pg_WriteBlock(image_of(300)).is_empty());
    EXPECT_EQ(state(), "0 idle s7init 0 Read Wait Data");
  }
}

TEST_F(Download, AStoringPlcHasSixtyTimesTzeit) {
  tcp_client.answer_in_order();
  connect();
  play();
  const auto played = tcp_client.on_send;
  std::string late;
  tcp_client.on_send = [&](const std::string& telegram) {
    played(telegram);
    if (telegram[19] == '\x1B') late = std::exchange(tcp_client.available, {});
  };
  const auto first_job = environment.on_wait;
  int slices = 0;
  environment.on_wait = [&](std::uint32_t ms) {
    if (!late.empty() && ++slices == 300) {
      tcp_client.available = std::exchange(late, {});
      slices = 0;
    }
    return first_job(ms);
  };
  link.pg_WriteBlock(image_of(444));
  EXPECT_EQ(state(), "0 idle s7init 0 Read Wait Data");
  EXPECT_EQ(environment.waits, 601);

  link.Tzeit(std::numeric_limits<std::int32_t>::max());
  link.pg_WriteBlock(image_of(444));
  EXPECT_EQ(state(), "0 idle s7init 0 Read Wait Data") << "60 times that is still a limit";
}

}  // namespace
}  // namespace plexum
