#include <string>
#include <utility>

#include "support/link_fixture.h"

namespace plexum {
namespace {

using test::bytes;
using test::hex;

constexpr const char* kReadRequest =
    "03 00 00 1D 02 F0 80 32 07 00 00 00 0D 00 08 00 04 00 01 12 04 11 47 01 00 0A 00 00 00";

class PlcClock : public test::LinkFixture {
 protected:
  void SetUp() override { connect(); }

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

  tcp_client.answers = {answer("FF FA 0B FF FF FF FF FF 00 0F")};
  EXPECT_EQ(std::get<std::string>(std::get<VariantArray>(link.pg_ReadClock()).elements[0]), "FA0B");
}

TEST_F(PlcClock, SetsBcdFromDigits) {
  struct Case {
    const char* texts[7];
    const char* sent;  // empty: error 5
  };
  const Case cases[] = {
      {{"2010", "07", "08", "12", "30", "45", "123"}, "20 10 07 08 12 30 45 12 12"},
      {{"10", "0x11", "&H11", "A", "", "x", ""}, "10 00 11 11 0A 00 00 00 00"},
      {{"20265", "7", "8", "1.5", "0xFF", "99", "9"}, "20 26 07 08 01 FF 99 09 09"},
      {{"202", "1", "1", "1", "1", "1", "0x12"}, "20 02 01 01 01 01 01 00 00"},
      {{"2010", "100", "08", "12", "30", "45", "123"}, ""},
      {{"2010", "1", "FFFFFFFF", "12", "30", "45", "123"}, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.texts[1]);
    forget();
    tcp_client.answers = {std::string(33, '\xD2')};  // a refusal isn't seen
    Value result = true;
    const auto& t = c.texts;
    const auto set = [&] { result = link.pg_SetClock(t[0], t[1], t[2], t[3], t[4], t[5], t[6]); };
    const bool fails = *c.sent == '\0';
    EXPECT_EQ(error_of(set), fails ? kInvalidArgument : 0);
    EXPECT_EQ(result.is_empty(), !fails);
    EXPECT_EQ(state(), "0 inuse s7init 0 Send/Receive Ready");
    if (fails) {
      EXPECT_TRUE(tcp_client.sent.empty());
    } else {
      EXPECT_EQ(hex(tcp_client.sent.at(0)),
                std::string("03 00 00 27 02 F0 80 32 07 00 00 00 0C 00 08 00 0E 00 01 12 04 11 47 "
                            "02 00 FF 09 00 0A 00 ") +
                    c.sent);
    }
  }
}

TEST_F(PlcClock, ShortAnswersAreRepeatedAndCounted) {
  struct Case {
    std::size_t lengths[3];
    std::size_t sent;
    std::int32_t error;
    const char* state;
  };
  // The take of a time-out is replaced by a second one, so no fragment is ever long enough.
  const Case cases[] = {
      {{43, 0, 0}, 1, 0, "0 idle s7init 0 Send/Receive Ready"},
      {{42, 43, 0}, 2, 0, "0 idle no-s7init 1 Send/Receive Ready"},
      {{24, 42, 43}, 3, 0, "0 idle no-s7init 2 Send/Receive Ready"},
      {{0, 24, 42}, 3, kSubscriptOutOfRange, "3 idle no-s7init 3 Send/Receive Ready"},
  };
  for (const Case& c : cases) {
    tcp_client.state = kTcpClosed;
    connect();
    for (const std::size_t length : c.lengths) tcp_client.answers.emplace_back(length, '\x11');
    EXPECT_EQ(error_of([&] { link.pg_ReadClock(); }), c.error);
    EXPECT_EQ(tcp_client.sent.size(), c.sent);
    EXPECT_EQ(tcp_client.sent.back(), bytes(kReadRequest));
    EXPECT_EQ(state(), c.state);
  }
  tcp_client.state = kTcpClosed;
  connect();
  tcp_client.answers = {std::string(32, 'x'), std::string(33, 'x')};
  EXPECT_TRUE(link.pg_SetClock("2026", "1", "1", "1", "1", "1", "1").is_empty());
  EXPECT_EQ(state(), "0 idle no-s7init 1 Send/Receive Ready") << "only a normal end stays in use";
}

TEST_F(PlcClock, AFragmentCountsWhereThereIsNoSecondTake) {
  for (const std::size_t length : {25u, 42u}) {
    tcp_client.state = kTcpClosed;
    environment.on_process_messages = [] {};
    connect();
    tcp_client.answers = {std::string(length, 'x')};
    environment.on_process_messages = [&] { tcp_client.state = kTcpPeerClosing; };
    EXPECT_EQ(error_of([&] { link.pg_ReadClock(); }), kSubscriptOutOfRange);
    EXPECT_EQ(state(), "3 idle no-s7init 0 Send/Receive Ready");
  }
}

}  // namespace
}  // namespace plexum
