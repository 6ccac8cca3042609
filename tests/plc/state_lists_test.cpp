#include <string>

#include "support/link_fixture.h"

namespace plexum {

using test::bytes;
using test::hex;

// The control's friend: nothing public leads to the message service.
class MessageServiceTest : public test::LinkFixture {
 protected:
  void SetUp() override { connect(); }
  void pg_MessageService() { link.pg_MessageService(); }

  static std::string mode_answer(char mode) { return std::string(42, 'x') + mode; }
};

namespace {

constexpr const char* kRunModeRequest =
    "03 00 00 21 02 F0 80 32 07 00 00 61 00 00 08 00 08 00 01 12 04 11 44 01 00 FF 09 00 04 "
    "04 24 00 00";

Value texts(const std::string& bits) {
  VariantArray array;
  for (const char bit : bits) array.elements.emplace_back(std::string(1, bit));
  return array;
}

using StateLists = MessageServiceTest;

TEST_F(StateLists, TheRunModesBitsLeastSignificantFirst) {
  struct Case {
    char mode;
    const char* bits;
  };
  for (const Case& c : {Case{'\x00', "00000000"},
                        {'\xFF', "11111111"},
                        {'\x01', "10000000"},
                        {'\x08', "00010000"},
                        {'\xA0', "00000101"}}) {
    tcp_client.answers = {mode_answer(c.mode) + "more"};
    EXPECT_EQ(link.pg_plcRunMode(), texts(c.bits));
    EXPECT_EQ(hex(tcp_client.sent.back()), kRunModeRequest);
    EXPECT_EQ(state(), "0 idle s7init 0 Send/Receive Ready");
  }
  for (const std::size_t length : {35u, 42u}) {
    tcp_client.answers = {std::string(length, 'x')};
    EXPECT_EQ(error_of([&] { link.pg_plcRunMode(); }), kSubscriptOutOfRange) << length;
    EXPECT_EQ(state(), "0 idle s7init 0 Send/Receive Ready");
  }
  EXPECT_TRUE(environment.boxes.empty());
}

TEST_F(StateLists, TheLampListShowsItsLengthFirst) {
  std::string answer(40, '\0');
  for (int i = 0; i < 40; ++i) answer[static_cast<std::size_t>(i)] = static_cast<char>(i * 8);
  std::string waiting;
  environment.on_wait = [&](std::uint32_t ms) {
    waiting = link.status_text();
    tcp_client.available += environment.waits == 1 ? answer.substr(0, 34) : answer.substr(34);
    return ms;
  };
  const Value result = link.pg_SZL();
  VariantArray expected;
  for (int i = 29; i < 40; ++i)
    expected.elements.emplace_back(static_cast<std::int16_t>(i * 8 % 256));
  EXPECT_EQ(result, Value(expected));
  EXPECT_EQ(environment.boxes, std::vector<std::string>{"40"});
  EXPECT_EQ(waiting, "PLC Stop");
  EXPECT_EQ(hex(tcp_client.sent.back()).substr(87), "01 19 00 00");
  EXPECT_EQ(hex(tcp_client.sent.back()).substr(0, 86), std::string(kRunModeRequest).substr(0, 86));

  // The wait ends at 35 bytes; what comes later is not waited for.
  environment.waits = 0;
  environment.on_wait = [&](std::uint32_t ms) {
    tcp_client.available += answer.substr(0, 35);
    return ms;
  };
  EXPECT_EQ(std::get<VariantArray>(link.pg_SZL()).elements.size(), 6u);
  EXPECT_EQ(environment.boxes.back(), "35");
}

TEST_F(StateLists, ATimeOutShowsAnEmptyAnswer) {
  tcp_client.answers = {std::string(17, '\0') + bytes("00 01") + "fragment"};
  EXPECT_EQ(error_of([&] { link.pg_SZL(); }), kSubscriptOutOfRange);
  EXPECT_EQ(environment.boxes, std::vector<std::string>{"0"});
  EXPECT_EQ(state(), "1 idle no-s7init 0 Send/Receive Ready");
}

// A second answer may come while the ending of the time-out processes messages; when the host
// closes the connection there, the first one is what there is.
TEST_F(StateLists, WhatIsEvaluatedAfterATimeOut) {
  for (const bool closes : {false, true}) {
    link.ag_exit();
    connect();
    tcp_client.answers = {};
    environment.on_wait = [&](std::uint32_t ms) {
      if (environment.waits == 6) tcp_client.available = mode_answer('\x01');
      return ms;
    };
    environment.on_process_messages = [&] {
      if (closes)
        tcp_client.Close();
      else
        tcp_client.available = mode_answer('\x02');
    };
    EXPECT_EQ(link.pg_plcRunMode(), texts(closes ? "10000000" : "01000000"));
    EXPECT_FALSE(link.inuse || link.s7init);
    environment.on_wait = [](std::uint32_t ms) { return ms; };
    environment.on_process_messages = [] {};
  }
}

TEST_F(MessageServiceTest, EndsInARunModeThatTakesNoBytes) {
  tcp_client.answers = {std::string(40, 'x'), mode_answer('\x08')};
  EXPECT_EQ(error_of([&] { pg_MessageService(); }), kObjectRequired);
  ASSERT_EQ(tcp_client.sent.size(), 2u);
  EXPECT_EQ(
      hex(tcp_client.sent[0]),
      "03 00 00 27 02 F0 80 32 07 00 00 0C 00 00 08 00 0C 00 01 12 04 12 44 02 00 FF 09 00 0A "
      "00 00 61 73 6D 65 73 73 00 00");
  EXPECT_EQ(hex(tcp_client.sent[1]), kRunModeRequest);

  // Nothing to hand over, or no run mode either: the first fault is the one that is raised.
  tcp_client.answers = {std::string(30, '\0')};
  EXPECT_EQ(error_of([&] { pg_MessageService(); }), kSubscriptOutOfRange);
  EXPECT_EQ(tcp_client.sent.size(), 3u);
  tcp_client.answers = {};
  EXPECT_EQ(error_of([&] { pg_MessageService(); }), 0) << "refused: no connection";
  EXPECT_EQ(tcp_client.sent.size(), 4u);
}

}  // namespace
}  // namespace plexum
