#include <string>

#include "support/link_fixture.h"

namespace plexum {
namespace {

using test::bytes;
using test::error_of;
using test::hex;

constexpr const char* kReadRequest =
    "03 00 00 1D 02 F0 80 32 07 00 00 00 0D 00 08 00 04 00 01 12 04 11 47 01 00 0A 00 00 00";

class PlcClock : public test::ConnectedFixture {
 protected:
  static std::string answer(const std::string& clock) {
    return std::string(33, 'x') + bytes(clock);
  }
};

TEST_F(PlcClock, ReadsBcdAsDigits) {
  tcp_client.answers = {answer("00 20 10 07 08 12 30 45 12 34") + "more"};
  VariantArray expected;
  for (const char* text : {"2010", "07", "08", "12", "30", "45", "1234"}) {
    expected.elements.emplace_back(std::string(text));
  }
  EXPECT_EQ(link.pg_ReadClock(), Value(expected));
  EXPECT_EQ(hex(tcp_client.sent.at(0)), kReadRequest);
  EXPECT_EQ(state(), "0 idle s7init 0 Send/Receive Ready");
}

TEST_F(PlcClock, SetsBcdFromDigits) {
  struct Case {
    const char *year, *month, *hour, *second, *milliseconds;
    const char* sent;
  };
  const Case cases[] = {
      {"2010", "07", "12", "45", "123", "20 10 07 08 12 30 45 12 12"},
      {"10", "0x11", "A", "x", "", "10 00 11 08 0A 30 00 00 00"},
      {"20265", "&H7", "1.5", "0xFF", "0x12", "20 26 07 08 01 30 FF 00 00"},
  };
  const std::string head =
      "03 00 00 27 02 F0 80 32 07 00 00 00 0C 00 08 00 0E 00 01 12 04 11 47 02 00 FF 09 00 0A 00 ";
  for (const Case& c : cases) {
    tcp_client.answers = {std::string(33, '\xD2')};  // a refusal isn't seen
    EXPECT_TRUE(
        link.pg_SetClock(c.year, c.month, "08", c.hour, "30", c.second, c.milliseconds).is_empty());
    EXPECT_EQ(hex(tcp_client.sent.back()), head + c.sent);
    EXPECT_EQ(state(), "0 inuse s7init 0 Send/Receive Ready") << "a normal end stays in use";
  }
  forget();
  for (const char* month : {"100", "FFFFFFFF"}) {
    EXPECT_EQ(error_of([&] { link.pg_SetClock("2010", month, "08", "12", "30", "45", "123"); }),
              kInvalidArgument);
    EXPECT_TRUE(tcp_client.sent.empty());
  }
}

TEST_F(PlcClock, ShortAnswersAreRepeatedAndCounted) {
  struct Case {
    std::size_t lengths[3];
    std::int32_t error;
    const char* state;
  };
  // The take of a time-out is replaced by a second one, so no fragment is ever long enough.
  const Case cases[] = {
      {{42, 43, 0}, 0, "0 idle no-s7init 1 Send/Receive Ready"},
      {{24, 42, 43}, 0, "0 idle no-s7init 2 Send/Receive Ready"},
      {{0, 24, 42}, kSubscriptOutOfRange, "3 idle no-s7init 3 Send/Receive Ready"},
  };
  for (const Case& c : cases) {
    connect();
    for (const std::size_t length : c.lengths) tcp_client.answers.emplace_back(length, '\x11');
    EXPECT_EQ(error_of([&] { link.pg_ReadClock(); }), c.error);
    EXPECT_EQ(hex(tcp_client.sent.back()), kReadRequest);
    EXPECT_EQ(tcp_client.sent.size(), c.lengths[2] == 0 ? 2u : 3u);
    EXPECT_EQ(state(), c.state);
  }
  // Only where the host closes the connection is there no second take, and a fragment counts.
  connect();
  tcp_client.answers = {std::string(42, 'x')};
  environment.on_process_messages = [&] { tcp_client.state = kTcpPeerClosing; };
  EXPECT_EQ(error_of([&] { link.pg_ReadClock(); }), kSubscriptOutOfRange);
  EXPECT_EQ(state(), "3 idle no-s7init 0 Send/Receive Ready");
}

}  // namespace
}  // namespace plexum
