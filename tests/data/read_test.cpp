#include <cmath>
#include <utility>

#include "support/link_fixture.h"

namespace plexum {
namespace {

using test::bytes;
using test::error_of;
using test::hex;

class Reading : public test::ConnectedFixture {
 protected:
  // Both have the same signature.
  using Member = decltype(&PlexumLink::ag_Read);
  static constexpr Member kMembers[] = {&PlexumLink::ag_Read, &PlexumLink::ag_ReadB};

  // What a conversion is to make of the data, or the number of its error.
  struct Case {
    const char *anzby, *Datenart, *data;
    Value expected;
    std::int32_t error = 0;
  };

  static Value doubles(std::vector<double> elements) { return DoubleArray{1, std::move(elements)}; }
  static Value variants(std::vector<Value> elements) {
    return VariantArray{1, std::move(elements)};
  }

  // An answer to a read, with these data.
  static std::string answer(const std::string& data) {
    return bytes("03 00 00 1D 02 F0 80 32 03 00 00 02 00 00 02 00 08 00 00 04 01 FF 04 00 20") +
           data;
  }

  Value read(Member member, const char* anzby, const char* Datenart, const std::string& data) {
    tcp_client.answers = {answer(data)};
    return (link.*member)("1", anzby, "0", Datenart, "D");
  }

  void expect_conversion(Member member, const Case& c) {
    SCOPED_TRACE(std::string(c.anzby) + c.Datenart + " " + c.data);
    Value result;
    EXPECT_EQ(error_of([&] { result = read(member, c.anzby, c.Datenart, bytes(c.data)); }),
              c.error);
    EXPECT_EQ(result, c.expected);
    EXPECT_EQ(state(), "0 idle s7init 0 Send/Receive Ready") << "the exchange was complete";
  }
};

TEST_F(Reading, TheRequest) {
  struct Request {
    const char *DBNr, *anzby, *startad, *area;
    const char *tail, *tail_b;  // what follows the head, for each of the two
  };
  const char* const none = nullptr;  // an overflow
  const Request requests[] = {
      {"10", "4", "0", "D", "00 04 00 0A 84 00 00 00", "00 04 00 0A 84 00 00 00"},
      {"0", "1", "4095", "M", "00 01 00 00 83 00 7F F8", "00 01 00 00 83 00 7F F8"},
      {"65535", "258.9", "1", "DI", "01 02 FF FF 85 00 00 08", "01 02 FF FF 85 00 00 08"},
      {" 1.7", "2", "1", "E", "00 02 00 01 81 00 00 08", "00 02 00 01 81 00 00 08"},
      {"0", "2", "1", "A", "00 02 00 00 82 00 00 08", "00 02 00 00 82 00 00 08"},
      {"0", "2", "1", "P", "00 02 00 00 80 00 00 08", "00 02 00 00 80 00 00 08"},
      {"0", "2", "1", "LD", "00 02 00 00 86 00 00 08", "00 02 00 00 86 00 00 08"},
      // Unknown: the area byte is missing.
      {"0", "2", "1", "d", "00 02 00 00 00 00 08", "00 02 00 00 00 00 08"},
      {"0", "2", "5", "T", "00 02 00 00 1D 00 00 28", "00 02 00 00 00 00 28"},
      {"0", "2", "5", "Z", "00 02 00 00 1C 00 00 28", "00 02 00 00 00 00 28"},
      {"0", "2", "10.5", "D", "00 02 00 00 84 00 00 50", "00 02 00 00 84 00 00 54"},
      {"0", "2", "8192", "D", none, "00 02 00 00 84 01 00 00"},
      {"0", "2", "8191.875", "D", none, "00 02 00 00 84 01 FF FF"},
  };
  const std::string head = "03 00 00 1F 02 F0 80 32 01 00 00 02 00 00 0E 00 00 04 01 12 0A 10 02 ";
  for (const Request& r : requests) {
    for (const Member member : kMembers) {
      const char* const tail = member == kMembers[0] ? r.tail : r.tail_b;
      tcp_client.answers = {answer(std::string(300, '\0'))};
      forget();
      EXPECT_EQ(error_of([&] { (link.*member)(r.DBNr, r.anzby, r.startad, "?", r.area); }),
                tail == none ? kOverflow : 0);
      if (tail == none) continue;
      EXPECT_EQ(hex(tcp_client.sent.at(0)), head + tail);
    }
  }
}

TEST_F(Reading, BadArgumentsRaiseAfterTheGuardAndSendNothing) {
  struct Arguments {
    std::string DBNr, anzby, startad;
    std::int32_t error;
  };
  const Arguments cases[] = {
      {"1", "2", "4096", kOverflow},         {"1", "2", "-4097", kOverflow},
      {"1", "2", "x", kTypeMismatch},        {"65536", "2", "0", kInvalidArgument},
      {"-1", "2", "0", kInvalidArgument},    {std::string("1\0", 2), "2", "0", kTypeMismatch},
      {"1", "65536", "0", kInvalidArgument}, {"1", "-0.5", "0", kInvalidArgument},
      {"1", "", "0", kTypeMismatch},         {"1", std::string(65536, '9'), "0", kOverflow},
  };
  for (const Arguments& a : cases) {
    for (const Member member : kMembers) {
      link.inuse(false);
      EXPECT_EQ(error_of([&] { (link.*member)(a.DBNr, a.anzby, a.startad, "B", "D"); }), a.error)
          << a.DBNr << " " << a.anzby.substr(0, 9) << " " << a.startad;
      EXPECT_EQ(state(), "0 inuse s7init 0 Send/Receive Ready");
    }
  }
  EXPECT_TRUE(tcp_client.sent.empty());
}

TEST_F(Reading, AgReadConverts) {
  const Case cases[] = {
      {"3", "B", "00 7F FF", doubles({0, 127, 255})},
      {"2.5", "B", "01 02", doubles({1, 2})},  // half to even
      {"4", "W", "12 34 FF FF", doubles({0x1234, 65535})},
      {"4", "I", "7F FF FF FE", doubles({32767, -2})},
      {"8", "D", "80 00 00 00 00 00 12 34", doubles({-2147483648.0, 4660})},
      {"5", "D", "00 00 00 01 FF", doubles({1})},
      {"8", "F", "3F 80 00 00 C0 48 F5 C3", doubles({1, -3.1400001049041748})},
      // The smallest normal number reads as 0, negative zero doesn't; nothing is infinite.
      {"8", "F", "00 80 00 00 01 00 00 00", doubles({0, std::exp2(-125)})},
      {"8", "F", "80 00 00 00 7F 80 00 00", doubles({-std::exp2(-127), std::exp2(128)})},
      {"2", "X", "05 80", doubles({1, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1})},
      {"2", "C", "41 42", {}},
      // Counts that don't fit their type.
      {"0", "B", "", {}, kSubscriptOutOfRange},
      {"1", "W", "01", {}, kSubscriptOutOfRange},
      {"3", "W", "01 02 03", {}, kInvalidArgument},
      {"6", "F", "01 02 03 04 05 06", {}, kInvalidArgument},
      {"6", "D", "01 02 03 04 05 06", {}, kInvalidArgument},
      {"3.5", "B", "01 02 03", {}, kInvalidArgument},
  };
  for (const Case& c : cases) {
    link.err(77);  // doesn't stop this job
    expect_conversion(&PlexumLink::ag_Read, c);
  }
  const std::string long_data(33000, '\x01');
  EXPECT_EQ(error_of([&] { read(kMembers[0], "4096", "X", long_data); }), kOverflow);
  EXPECT_EQ(error_of([&] { read(kMembers[0], "33000", "B", long_data); }), kOverflow);
}

TEST_F(Reading, AgReadBConverts) {
  const auto integer = [](int value) { return Value(static_cast<std::int16_t>(value)); };
  const Case cases[] = {
      {"3", "B", "00 7F FF", variants({integer(0), integer(127), integer(255)})},
      {"4", "W", "12 34 7F FF", variants({integer(0x1234), integer(32767)})},
      {"2", "I", "7F FF", variants({integer(32767)})},
      {"2", "X", "05 80", variants({std::string("10100000"), std::string("00000001")})},
      {"3", "C", "00 FF 41 42", Value(bytes("00 FF 41"))},
      {"0", "C", "", Value(std::string())},
      {"4", "D", "00 00 00 00", {}},
      {"2", "W", "80 00", {}, kOverflow},
      {"3", "W", "01 02 03", {}, kInvalidArgument},
      {"0", "X", "", {}, kSubscriptOutOfRange},
  };
  for (const Case& c : cases) expect_conversion(&PlexumLink::ag_ReadB, c);
  // More elements than a 16-bit number counts.
  const std::string long_data(65534, '\x01');
  for (const char* type : {"B", "W"}) {
    const Value read_long = read(kMembers[1], "65534", type, long_data);
    EXPECT_EQ(std::get<VariantArray>(read_long).elements.size(), *type == 'B' ? 65534u : 32767u);
  }
}

TEST_F(Reading, AnErrorInAnAnswerOfFullLengthIsData) {
  tcp_client.answers = {answer(bytes("00 00 00 00")).replace(17, 1, "\x85")};
  EXPECT_EQ(link.ag_Read("1", "4", "0", "D", "D"), doubles({0}));
  EXPECT_EQ(link.err(), 0);
}

TEST_F(Reading, PiecesAreWaitedForAndEachEndsASlice) {
  const std::string whole = answer("abcd");
  std::size_t arrived = 0;
  environment.on_wait = [&](std::uint32_t) {
    tcp_client.available += whole.substr(arrived, 5);
    arrived += 5;
    return 0u;
  };
  link.Tzeit(6);
  EXPECT_EQ(link.ag_ReadB("1", "4", "0", "C", "D"), Value(std::string("abcd")));
  EXPECT_EQ(environment.waits, 6) << "one for each piece";
  EXPECT_EQ(environment.pumps, 6);
  // The slice in which the last piece arrives is one too many.
  arrived = 0;
  link.Tzeit(5);
  EXPECT_TRUE(link.ag_ReadB("1", "4", "0", "C", "D").is_empty());
  EXPECT_EQ(link.err(), 3);
}

TEST_F(Reading, OnlyAgReadBProcessesMessagesAfterATimeOut) {
  for (const Member member : kMembers) {
    connect();
    tcp_client.on_send = [&](const std::string&) { tcp_client.state = kTcpPeerClosing; };
    EXPECT_TRUE((link.*member)("1", "4", "0", "B", "D").is_empty());
    EXPECT_EQ(environment.pumps, member == kMembers[0] ? 0 : 1);
  }
}

TEST_F(Reading, TheGuardsOfTheTwo) {
  const auto [ag_Read, ag_ReadB] = std::pair(kMembers[0], kMembers[1]);
  // An err of an earlier job stops ag_ReadB only, and that leaves everything else as it is.
  link.err(5);
  link.inuse(true);
  EXPECT_TRUE(read(ag_ReadB, "1", "B", "x").is_empty());
  EXPECT_EQ(state(), "5 inuse s7init 0 Send/Receive Ready");
  EXPECT_TRUE(tcp_client.sent.empty());
  EXPECT_EQ(read(ag_Read, "1", "B", "x"), doubles({'x'}));

  link.ag_exit();
  link.auftrag_Fehler(2);
  link.inuse(true);
  EXPECT_TRUE(read(ag_ReadB, "1", "B", "x").is_empty());
  EXPECT_EQ(state(), "4 inuse s7init 2 TCP Not Ready");
  EXPECT_TRUE(read(ag_Read, "1", "B", "x").is_empty());
  EXPECT_EQ(state(), "4 idle no-s7init 0 TCP Not Ready");
  // The next one reconnects.
  tcp_client.answers = {connection_confirm(), setup_answer(), answer("y")};
  EXPECT_EQ(link.ag_Read("1", "1", "0", "B", "D"), doubles({'y'}));
}

TEST_F(Reading, AJobGoesOnAfterASetupThatTimedOut) {
  tcp_client.state = kTcpClosed;
  link.s7init(false);
  tcp_client.answers = {connection_confirm(), "short", answer("late")};
  // err is 0 after that time-out; what had arrived of the setup answer stands before the data.
  EXPECT_EQ(link.ag_ReadB("1", "4", "0", "C", "D"),
            Value(("short" + answer("late")).substr(25, 4)));
  EXPECT_EQ(tcp_client.sent.size(), 3u);
  EXPECT_EQ(state(), "0 idle no-s7init 0 Send/Receive Ready");
}

TEST(ReadingWithoutHead, AHostThatClaimsAConnectionSendsNoHead) {
  test::FakeEnvironment environment;
  test::ScriptedTcpClient tcp_client;
  PlexumLink link(environment, tcp_client);
  link.s7init(true);
  tcp_client.state = kTcpConnected;
  tcp_client.answers = {std::string(26, 'x')};
  link.ag_Read("10", "1", "0", "B", "D");
  EXPECT_EQ(hex(tcp_client.sent.at(0)), "00 01 00 0A 84 00 00 00");
}

}  // namespace
}  // namespace plexum
