#include <limits>
#include <string>
#include <vector>

#include "support/link_fixture.h"

namespace plexum {
namespace {

using test::bytes;
using test::hex;

class Upload : public test::LinkFixture {
 protected:
  void SetUp() override { connect(); }

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
  link.auftrag_Fehler = 9;
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
  struct Case {
    const char *type, *number, *id;
    const char *designation, *request_id;
  };
  for (const Case& c : {Case{"fb", "1", "01 02", "31 41", "01 02"},
                        {"OB", "", "", "30 38 41", ""},
                        {"SDB", "1234567", "07", "30 42 31 32 33 34 35 36 37 41", "07"}}) {
    forget();
    tcp_client.answers = {start_answer(bytes(c.id)), part_answer(false, "x"), end_answer()};
    EXPECT_EQ(link.pg_ReadBlock(c.type, c.number), Value(std::string("x")));
    EXPECT_EQ(tcp_client.sent[0].substr(27), bytes(c.designation));
    EXPECT_EQ(tcp_client.sent[1].substr(23), bytes(c.request_id));
    EXPECT_EQ(tcp_client.sent[2].substr(23), bytes(c.request_id));
  }
}

TEST_F(Upload, AnImageOf64KilobytesAndMore) {
  const std::string part(222, 'x');
  tcp_client.on_send = [&](const std::string& telegram) {
    const std::size_t requests = tcp_client.sent.size();
    if (telegram[17] == '\x1D') tcp_client.available = start_answer();
    if (telegram[17] == '\x1E') tcp_client.available = part_answer(requests < 301, part);
    if (telegram[17] == '\x1F') tcp_client.available = end_answer();
  };
  EXPECT_EQ(std::get<std::string>(upload()).size(), 300u * 222);
  EXPECT_EQ(hex(tcp_client.sent[300].substr(11, 2)), "01 2C");

  // Who says forever that more follows is stopped by the counter's 16 bits.
  tcp_client.sent.clear();
  tcp_client.on_send = [&](const std::string& telegram) {
    tcp_client.available = telegram[17] == '\x1D' ? start_answer() : part_answer(true, "");
  };
  EXPECT_EQ(error_of([&] { upload(); }), kOverflow);
  EXPECT_EQ(hex(tcp_client.sent.back().substr(11, 2)), "7F FF");
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
  const auto refusal = [](const char* error, std::size_t length = 19) {
    return (std::string(17, '\0') + bytes(error) + std::string(6, '\0')).substr(0, length);
  };
  const Value part = std::string("part");
  const Case cases[] = {
      {"unknown block", 0, refusal("D2 09"), 7, 0, {}, 6, "2109 idle no-s7init 0 Read Exit"},
      {"one byte short", 0, refusal("00 00", 24), 7, 0, {}, 6, "0 idle no-s7init 0 Read Exit"},
      {"silence", 0, "", 7, kInvalidArgument, {}, 6, "0 inuse s7init 0 Read Exit"},
      {"lost", 0, "", 9, 0, {}, 6, "3 idle no-s7init 0 Read Exit"},
      {"first part", 1, refusal("D2 41"), 7, 0, {}, 506, "21065 idle no-s7init 0 Read Exit"},
      {"first part lost", 1, "", 8, 0, {}, 506, "3 idle no-s7init 0 Read Exit"},
      {"second part", 2, refusal("00 00", 24), 7, 0, part, 506, "0 idle no-s7init 0 Read Exit"},
      {"second part, silence", 2, "", 7, kInvalidArgument, {}, 506, "0 inuse s7init 0 Read Exit"},
      {"second part, lost", 2, "", 9, 0, part, 506, "3 idle no-s7init 0 Read Exit"},
      {"end", 3, refusal("81 04"), 7, 0, part, 6, "1294 idle no-s7init 0 Read Exit"},
      {"end, error code 0", 3, refusal("00 00"), 7, 0, part, 6, "0 idle no-s7init 0 Read Exit"},
      {"end, silence", 3, "", 7, kInvalidArgument, {}, 6, "0 inuse s7init 0 Read Exit"},
      {"end, lost", 3, "", 8, 0, part, 6, "3 idle no-s7init 0 Read Exit"},
      {"end, and closed behind it", 3, end_answer(), 8, 0, part, 0,
       "0 idle s7init 0 Send/Receive Ready"},
  };
  const std::string whole[] = {start_answer(), part_answer(true, "part"), part_answer(false, "")};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.description);
    tcp_client.answer_in_order();
    link.ag_exit();
    connect();
    tcp_client.on_send = [&](const std::string&) {
      const std::size_t phase = tcp_client.sent.size() - 1;
      if (phase < c.phase) {
        tcp_client.available = whole[phase];
        return;
      }
      EXPECT_EQ(phase, c.phase) << "nothing is sent after a time-out";
      tcp_client.available = c.last_answer;
      tcp_client.state = c.tcp_state;
    };
    environment.on_wait = [&](std::uint32_t ms) {
      EXPECT_EQ(link.status_text(), "Read Wait Data");
      return ms;
    };
    Value result;
    EXPECT_EQ(error_of([&] { result = upload(); }), c.error);
    EXPECT_EQ(result, c.result);
    EXPECT_EQ(environment.waits, c.waits);
    EXPECT_EQ(environment.pumps, c.waits == 0 || c.error != 0 ? 0 : 1);
    EXPECT_EQ(state(), c.state);
    environment.on_wait = [](std::uint32_t ms) { return ms; };
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
  // A negative Tzeit takes from the 500.
  link.Tzeit(-490);
  forget();
  tcp_client.answers = {start_answer()};
  EXPECT_EQ(error_of([&] { upload(); }), kInvalidArgument);
  EXPECT_EQ(environment.waits, 11);
}

}  // namespace
}  // namespace plexum
