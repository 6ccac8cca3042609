#include <limits>
#include <string>
#include <vector>

#include "support/link_fixture.h"

namespace plexum {
namespace {

using test::bytes;
using test::error_of;
using test::hex;

class Upload : public test::ConnectedFixture {
 protected:
  // The PLC's answers, byte by byte where the control looks.
  static std::string start_answer(const std::string& id = bytes("AB CD")) {
    return std::string(25, '\0') + id;
  }
  static std::string part_answer(bool more, const std::string& part) {
    return std::string(20, '\0') + (more ? '\x01' : '\x00') + std::string(4, '\0') + part;
  }
  static std::string end_answer() { return std::string(20, '\xD2'); }

  Value upload() { return link.pg_ReadBlock("DB", "00001"); }
};

TEST_F(Upload, JoinsThePartsByNumberedRequests) {
  tcp_client.answers = {start_answer(), part_answer(true, "abc"), part_answer(true, ""),
                        part_answer(false, "d"), end_answer()};
  link.auftrag_Fehler(9);
  EXPECT_EQ(link.pg_ReadBlock("FB", "00012"), Value(std::string("abcd")));
  std::vector<std::string> sent;
  for (const std::string& telegram : tcp_client.sent) sent.push_back(hex(telegram));
  const auto request = [](const char* reference, const char* function) {
    return std::string("03 00 00 19 02 F0 80 32 01 00 00 ") + reference + " 00 08 00 00 " +
           function + " 00 00 00 00 00 AB CD";
  };
  EXPECT_EQ(sent, (std::vector<std::string>{
                      "03 00 00 23 02 F0 80 32 01 00 00 00 00 00 12 00 00 1D 00 00 00 00 00 00 00 "
                      "09 5F 30 45 30 30 30 31 32 41",
                      request("00 01", "1E"), request("00 02", "1E"), request("00 03", "1E"),
                      request("00 02", "1F")}));
  EXPECT_EQ(state(), "0 idle s7init 0 Send/Receive Ready");
  EXPECT_EQ(environment.waits, 0);
}

TEST_F(Upload, TheDesignationAndTheIdGoAsTheyStand) {
  tcp_client.answers = {start_answer("\x07"), part_answer(false, "x"), end_answer()};
  EXPECT_EQ(link.pg_ReadBlock("fb", "1"), Value(std::string("x")));
  EXPECT_EQ(tcp_client.sent[0].substr(27), "1A");
  EXPECT_EQ(tcp_client.sent[1].substr(23), "\x07");
  EXPECT_EQ(tcp_client.sent[2].substr(23), "\x07");
}

TEST_F(Upload, APlcThatNeverEndsIsStoppedByTheCounter) {
  tcp_client.on_send = [&](const std::string& telegram) {
    tcp_client.available = telegram[17] == '\x1D' ? start_answer() : part_answer(true, "");
  };
  EXPECT_EQ(error_of([&] { upload(); }), kOverflow);
  EXPECT_EQ(hex(tcp_client.sent[300].substr(11, 2)), "01 2C");
  EXPECT_EQ(hex(tcp_client.sent.back().substr(11, 2)), "7F FF");
}

TEST_F(Upload, APlcThatSendsMoreThanItsPartsCanCarryIsStopped) {
  const std::string part = part_answer(true, std::string(1 << 20, 'x'));
  tcp_client.on_send = [&](const std::string& telegram) {
    tcp_client.available = telegram[17] == '\x1D' ? start_answer() : part;
  };
  EXPECT_EQ(error_of([&] { upload(); }), kOverflow);
  EXPECT_EQ(tcp_client.sent.size(), 1u + 30) << "29 MiB are less than the longest image";
}

TEST_F(Upload, WhatEachPhaseEndsInWhenThePlcFails) {
  struct Case {
    const char* description;
    std::size_t phase;        // how many answers come whole
    std::string last_answer;  // then this one
    std::int16_t tcp_state;
    std::int32_t error;
    Value result;
    int waits;
    const char* state;
  };
  const auto refusal = [](const char* error, std::size_t length) {
    return (std::string(17, '\0') + bytes(error)).append(length - 19, '\0');
  };
  const Value part = std::string("part");
  const std::int16_t stands = kTcpConnected;
  const std::int16_t lost = kTcpPeerClosing;
  const Case cases[] = {
      {"first part",
       1,
       refusal("D2 41", 19),
       stands,
       0,
       {},
       506,
       "21065 idle no-s7init 0 Read Exit"},
      {"first part, lost", 1, "", lost, 0, {}, 506, "3 idle no-s7init 0 Read Exit"},
      {"second part", 2, refusal("00 00", 24), stands, 0, part, 506,
       "0 idle no-s7init 0 Read Exit"},
      {"silence", 2, "", stands, kInvalidArgument, {}, 506, "0 inuse s7init 0 Read Exit"},
      {"second part, lost", 2, "", lost, 0, part, 506, "3 idle no-s7init 0 Read Exit"},
      {"end", 3, refusal("81 04", 19), stands, 0, part, 6, "1294 idle no-s7init 0 Read Exit"},
      {"end, silence", 3, "", stands, kInvalidArgument, {}, 6, "0 inuse s7init 0 Read Exit"},
      {"end, lost", 3, "", lost, 0, part, 6, "3 idle no-s7init 0 Read Exit"},
      {"closed behind it", 3, end_answer(), lost, 0, part, 0, "0 idle s7init 0 Send/Receive Ready"},
  };
  const std::string whole[] = {start_answer(), part_answer(true, "part"), part_answer(false, "")};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.description);
    connect();
    tcp_client.on_send = [&](const std::string&) {
      const std::size_t phase = tcp_client.sent.size() - 1;
      EXPECT_LE(phase, c.phase) << "nothing is sent after a time-out";
      tcp_client.available = phase < c.phase ? whole[phase] : c.last_answer;
      if (phase == c.phase) tcp_client.state = c.tcp_state;
    };
    Value result;
    EXPECT_EQ(error_of([&] { result = upload(); }), c.error);
    EXPECT_EQ(result, c.result);
    EXPECT_EQ(environment.waits, c.waits);
    EXPECT_EQ(environment.pumps, c.waits == 0 || c.error != 0 ? 0 : 1);
    EXPECT_EQ(state(), c.state);
  }
}

TEST_F(Upload, LimitsBeyond32Bits) {
  tcp_client.answers = {start_answer(), "", end_answer()};
  link.Tzeit(std::numeric_limits<std::int32_t>::max());
  environment.on_wait = [&](std::uint32_t ms) {
    if (environment.waits == 1000) tcp_client.available = part_answer(false, "x");
    return ms;
  };
  EXPECT_EQ(upload(), Value(std::string("x")));
}

}  // namespace
}  // namespace plexum
