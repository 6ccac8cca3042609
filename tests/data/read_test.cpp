#include <cmath>
#include <utility>

#include "support/link_fixture.h"

namespace plexum {
namespace {

using test::bytes;
using test::hex;

class Reading : public test::LinkFixture {
 protected:
  void SetUp() override { connect(); }

  // An answer to a read, with these data.
  static std::string answer(const std::string& data) {
    return bytes("03 00 00 1D 02 F0 80 32 03 00 00 02 00 00 02 00 08 00 00 04 01 FF 04 00 20") +
           data;
  }

  Value read(const char* anzby, const char* Datenart, const std::string& data) {
    tcp_client.answers = {answer(data)};
    return link.ag_Read("1", anzby, "0", Datenart, "D");
  }

  Value read_b(const char* anzby, const char* Datenart, const std::string& data) {
    tcp_client.answers = {answer(data)};
    return link.ag_ReadB("1", anzby, "0", Datenart, "D");
  }
};

TEST_F(Reading, TheRequest) {
  struct Case {
    const char *DBNr, *anzby, *startad, *area, *tail;  // what follows the head
  };
  const Case both[] = {
      {"10", "4", "0", "D", "00 04 00 0A 84 00 00 00"},
      {"0", "1", "4095", "M", "00 01 00 00 83 00 7F F8"},
      {"65535", "258.9", "10", "DI", "01 02 FF FF 85 00 00 50"},
      {" 1.7", "2", "1", "E", "00 02 00 01 81 00 00 08"},
      {"0", "2", "1", "A", "00 02 00 00 82 00 00 08"},
      {"0", "2", "1", "P", "00 02 00 00 80 00 00 08"},
      {"0", "2", "1", "LD", "00 02 00 00 86 00 00 08"},
      {"0", "2", "1", "d", "00 02 00 00 00 00 08"},  // unknown: the area byte is missing
      {"0", "2", "1", "", "00 02 00 00 00 00 08"},
  };
  const std::string head = "03 00 00 1F 02 F0 80 32 01 00 00 02 00 00 0E 00 00 04 01 12 0A 10 02 ";
  const auto sent = [&] { return hex(tcp_client.sent.back()); };
  for (const Case& c : both) {
    tcp_client.answers = {answer(std::string(300, '\0')), answer(std::string(300, '\0'))};
    link.ag_Read(c.DBNr, c.anzby, c.startad, "?", c.area);
    EXPECT_EQ(sent(), head + c.tail);
    link.ag_ReadB(c.DBNr, c.anzby, c.startad, "?", c.area);
    EXPECT_EQ(sent(), head + c.tail);
  }
  // Where the two differ: timers and counters, fractions, and addresses above 4095.
  const auto request = [&](bool b, const char* startad, const char* area) {
    tcp_client.answers = {answer("xx")};
    tcp_client.available.clear();
    if (b) {
      link.ag_ReadB("0", "2", startad, "?", area);
    } else {
      link.ag_Read("0", "2", startad, "?", area);
    }
    return sent().substr(head.size() + 12);
  };
  EXPECT_EQ(request(false, "5", "T"), "1D 00 00 28");
  EXPECT_EQ(request(true, "5", "T"), "00 00 28");
  EXPECT_EQ(request(false, "5", "Z"), "1C 00 00 28");
  EXPECT_EQ(request(true, "5", "Z"), "00 00 28");
  EXPECT_EQ(request(false, "10.5", "D"), "84 00 00 50");
  EXPECT_EQ(request(true, "10.5", "D"), "84 00 00 54");
  EXPECT_EQ(request(true, "8192", "D"), "84 01 00 00");
  EXPECT_EQ(request(true, "12287.875", "D"), "84 01 7F FF");
  EXPECT_EQ(request(true, "8191.875", "D"), "84 01 FF FF");
}

TEST_F(Reading, BadArgumentsRaiseAfterTheGuardAndSendNothing) {
  struct Case {
    const char *DBNr, *anzby, *startad;
    std::int32_t error, error_b;
  };
  const std::string huge(65536, '9');
  const std::string nul("1\0", 2);
  const Case cases[] = {
      {"1", "2", "4096", kOverflow, kOverflow},
      {"1", "2", "-4097", kOverflow, kOverflow},
      {"1", "2", "x", kTypeMismatch, kTypeMismatch},
      {"65536", "2", "0", kInvalidArgument, kInvalidArgument},
      {"-1", "2", "0", kInvalidArgument, kInvalidArgument},
      {"", "2", "0", kTypeMismatch, kTypeMismatch},
      {"1", "65536", "0", kInvalidArgument, kInvalidArgument},
      {"1", "-0.5", "0", kInvalidArgument, kInvalidArgument},
      {"1", "", "0", kTypeMismatch, kTypeMismatch},
      {"1", huge.c_str(), "0", kOverflow, kOverflow},
  };
  for (const Case& c : cases) {
    for (const bool b : {false, true}) {
      link.inuse = false;
      link.err = 0;
      EXPECT_EQ(error_of([&] {
                  b ? link.ag_ReadB(c.DBNr, c.anzby, c.startad, "B", "D")
                    : link.ag_Read(c.DBNr, c.anzby, c.startad, "B", "D");
                }),
                b ? c.error_b : c.error)
          << c.DBNr << " " << std::string(c.anzby).substr(0, 9) << " " << c.startad << " " << b;
      EXPECT_EQ(state(), "0 inuse s7init 0 Send/Receive Ready");
    }
  }
  EXPECT_EQ(error_of([&] { link.ag_Read(nul, "1", "0", "B", "D"); }), kTypeMismatch);
  EXPECT_TRUE(tcp_client.sent.empty());
}

Value doubles(std::vector<double> elements) { return DoubleArray{1, std::move(elements)}; }

TEST_F(Reading, AgReadConverts) {
  struct Case {
    const char *anzby, *Datenart, *data;
    Value expected;
  };
  const double infinity_like = std::exp2(128);
  const Case cases[] = {
      {"3", "B", "00 7F FF", doubles({0, 127, 255})},
      {"4", "W", "12 34 FF FF", doubles({0x1234, 65535})},
      {"4", "I", "7F FF FF FE", doubles({32767, -2})},
      {"8", "D", "FF FF FF FE 00 00 12 34", doubles({-2, 4660})},
      {"4", "D", "80 00 00 00", doubles({-2147483648.0})},
      {"4", "F", "3F 80 00 00", doubles({1})},
      {"4", "F", "C0 48 F5 C3", doubles({-3.1400001049041748})},
      {"4", "F", "00 80 00 00", doubles({0})},  // the smallest normal number reads as 0
      {"4", "F", "80 00 00 00", doubles({-std::exp2(-127)})},
      {"4", "F", "7F 80 00 00", doubles({infinity_like})},
      {"8", "F", "42 C8 00 00 01 00 00 00", doubles({100, std::exp2(-125)})},
      {"2", "X", "05 80", doubles({1, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1})},
      {"2", "C", "41 42", {}},
      {"2", "b", "41 42", {}},
      {"5", "D", "00 00 00 01 FF", doubles({1})},
      {"2.5", "B", "01 02", doubles({1, 2})},  // half to even
  };
  for (const Case& c : cases) {
    link.err = 77;  // doesn't stop this job
    EXPECT_EQ(read(c.anzby, c.Datenart, bytes(c.data)), c.expected) << c.Datenart << " " << c.data;
    EXPECT_EQ(state(), "0 idle s7init 0 Send/Receive Ready");
  }
}

Value variants(std::vector<Value> elements) { return VariantArray{1, std::move(elements)}; }

TEST_F(Reading, AgReadBConverts) {
  const auto integer = [](int value) { return Value(static_cast<std::int16_t>(value)); };
  struct Case {
    const char *anzby, *Datenart, *data;
    Value expected;
  };
  const Case cases[] = {
      {"3", "B", "00 7F FF", variants({integer(0), integer(127), integer(255)})},
      {"4", "W", "12 34 7F FF", variants({integer(0x1234), integer(32767)})},
      {"2", "I", "7F FF", variants({integer(32767)})},
      {"2", "X", "05 80", variants({std::string("10100000"), std::string("00000001")})},
      {"3", "C", "00 FF 41", Value(bytes("00 FF 41"))},
      {"0", "C", "", Value(std::string())},
      {"4", "D", "00 00 00 00", {}},
      {"4", "F", "00 00 00 00", {}},
      {"2", "C", "41 42 43", Value(std::string("AB"))},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(read_b(c.anzby, c.Datenart, bytes(c.data)), c.expected) << c.Datenart << c.data;
    EXPECT_EQ(state(), "0 idle s7init 0 Send/Receive Ready");
  }
}

TEST_F(Reading, CountsThatDontFitTheirTypeRaise) {
  struct Case {
    bool b;
    const char *anzby, *Datenart;
    std::int32_t error;
  };
  const Case cases[] = {
      {false, "0", "B", kSubscriptOutOfRange}, {false, "1", "W", kSubscriptOutOfRange},
      {false, "2", "D", kSubscriptOutOfRange}, {false, "3", "W", kInvalidArgument},
      {false, "5", "I", kInvalidArgument},     {false, "6", "F", kInvalidArgument},
      {false, "5", "F", kInvalidArgument},     {false, "6", "D", kInvalidArgument},
      {false, "3.5", "B", kInvalidArgument},   {false, "4096", "X", kOverflow},
      {false, "33000", "B", kOverflow},        {true, "0", "B", kSubscriptOutOfRange},
      {true, "3", "W", kInvalidArgument},      {true, "0", "X", kSubscriptOutOfRange},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.anzby) + c.Datenart);
    const std::string data(static_cast<std::size_t>(std::stod(c.anzby)), '\x01');
    EXPECT_EQ(error_of([&] {
                c.b ? read_b(c.anzby, c.Datenart, data) : read(c.anzby, c.Datenart, data);
              }),
              c.error);
    EXPECT_EQ(state(), "0 idle s7init 0 Send/Receive Ready") << "the exchange was complete";
  }
  EXPECT_EQ(error_of([&] { read_b("2", "W", bytes("80 00")); }), kOverflow);
}

TEST_F(Reading, WhatTheWaitEndsIn) {
  struct Case {
    const char* description;
    std::string answer;
    std::int16_t tcp_state;
    std::int32_t error;
    const char* state;
  };
  const std::string refused = bytes("03 00 00 13 02 F0 80 32 02 00 00 02 00 00 00 00 00 85 00");
  const Case cases[] = {
      {"refused", refused, kTcpConnected, 0, "1330 idle no-s7init 0 Read Exit"},
      {"one byte short", answer("abc"), kTcpConnected, 0, "3 idle no-s7init 0 Read Exit"},
      {"lost", "", kTcpPeerClosing, 0, "3 idle no-s7init 0 Read Exit"},
      // The error bytes of so short an answer can't be read.
      {"silence", "", kTcpConnected, kInvalidArgument, "0 inuse s7init 0 Read Exit"},
      {"18 bytes", refused.substr(0, 18), kTcpConnected, kInvalidArgument,
       "0 inuse s7init 0 Read Exit"},
  };
  for (const bool b : {false, true}) {
    for (const Case& c : cases) {
      SCOPED_TRACE(std::string(c.description) + (b ? " ag_ReadB" : " ag_Read"));
      tcp_client.state = kTcpClosed;
      connect();
      link.auftrag_Fehler = 9;
      tcp_client.on_send = [&](const std::string&) {
        tcp_client.available = c.answer;
        tcp_client.state = c.tcp_state;
      };
      Value result = 1.0;
      EXPECT_EQ(error_of([&] {
                  result = b ? link.ag_ReadB("1", "4", "0", "B", "D")
                             : link.ag_Read("1", "4", "0", "B", "D");
                }),
                c.error);
      EXPECT_EQ(result.is_empty(), c.error == 0);
      EXPECT_EQ(state(), c.state);
      EXPECT_EQ(environment.waits, 6);
      EXPECT_EQ(environment.pumps, b && c.error == 0 ? 1 : 0) << "ag_ReadB pumps at its end";
      tcp_client.answer_in_order();
    }
  }
}

TEST_F(Reading, AnErrorInAnAnswerOfFullLengthIsData) {
  std::string refused = answer(bytes("00 00 00 00"));
  refused[17] = '\x85';
  tcp_client.answers = {refused};
  EXPECT_EQ(link.ag_Read("1", "4", "0", "D", "D"), doubles({0}));
  EXPECT_EQ(link.err, 0);
}

TEST_F(Reading, PiecesAreWaitedForAndEachEndsASlice) {
  const std::string whole = answer("abcd");
  std::size_t arrived = 0;
  tcp_client.on_send = [](const std::string&) {};
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
  EXPECT_EQ(link.err, 3);
}

TEST_F(Reading, TheGuardsOfTheTwo) {
  // An err of an earlier job stops ag_ReadB only, and that leaves everything else as it is.
  link.err = 5;
  link.inuse = true;
  EXPECT_TRUE(read_b("1", "B", "x").is_empty());
  EXPECT_EQ(state(), "5 inuse s7init 0 Send/Receive Ready");
  EXPECT_TRUE(tcp_client.sent.empty());
  EXPECT_EQ(read("1", "B", "x"), doubles({'x'}));

  link.ag_exit();
  link.auftrag_Fehler = 2;
  link.inuse = true;
  EXPECT_TRUE(read_b("1", "B", "x").is_empty());
  EXPECT_EQ(state(), "4 inuse s7init 2 TCP Not Ready");
  EXPECT_TRUE(read("1", "B", "x").is_empty());
  EXPECT_EQ(state(), "4 idle no-s7init 0 TCP Not Ready");
  // The next one reconnects, with the stored properties and port 102.
  tcp_client.answers = {connection_confirm(), setup_answer(), answer("y")};
  EXPECT_EQ(link.ag_Read("1", "1", "0", "B", "D"), doubles({'y'}));
  EXPECT_EQ(tcp_client.port, 102);
  EXPECT_EQ(tcp_client.host, "127.0.0.1");
}

TEST_F(Reading, AJobGoesOnAfterASetupThatTimedOut) {
  tcp_client.state = kTcpClosed;
  link.s7init = false;
  forget();
  tcp_client.answers = {connection_confirm(), "short", answer("late")};
  // err is 0 after that time-out; what had arrived of the setup answer stands before the data.
  const Value result = link.ag_ReadB("1", "4", "0", "C", "D");
  EXPECT_EQ(std::get<std::string>(result).size(), 4u);
  EXPECT_EQ(tcp_client.sent.size(), 3u);
  EXPECT_EQ(state(), "0 idle no-s7init 0 Send/Receive Ready");
}

TEST(ReadingWithoutHead, AHostThatClaimsAConnectionSendsNoHead) {
  test::FakeEnvironment environment;
  test::ScriptedTcpClient tcp_client;
  PlexumLink link(environment, tcp_client);
  link.s7init = true;
  tcp_client.state = kTcpConnected;
  tcp_client.answers = {std::string(26, 'x')};
  link.ag_Read("10", "1", "0", "B", "D");
  EXPECT_EQ(hex(tcp_client.sent.at(0)), "00 01 00 0A 84 00 00 00");
}

TEST_F(Reading, AHostThatReentersDuringTheWait) {
  // A second read inside the first takes the answer of both; the first then times out.
  tcp_client.on_send = [](const std::string&) {};
  bool entered = false;
  Value inner;
  environment.on_wait = [&](std::uint32_t) { return 0u; };
  environment.on_process_messages = [&] {
    if (std::exchange(entered, true)) return;
    EXPECT_TRUE(link.inuse);
    tcp_client.available = answer("ab") + answer("cd");
    inner = link.ag_ReadB("1", "2", "0", "C", "D");
    tcp_client.state = kTcpPeerClosing;
  };
  EXPECT_TRUE(link.ag_Read("1", "2", "0", "B", "D").is_empty());
  EXPECT_EQ(inner, Value(std::string("ab")));
  EXPECT_EQ(state(), "3 idle no-s7init 0 Read Exit");

  // ag_exit inside the wait: the job runs into its time-out.
  tcp_client.state = kTcpClosed;
  tcp_client.answer_in_order();
  environment.on_process_messages = [] {};
  connect();
  tcp_client.on_send = [](const std::string&) {};
  entered = false;
  environment.on_process_messages = [&] {
    if (!std::exchange(entered, true)) link.ag_exit();
  };
  EXPECT_TRUE(link.ag_ReadB("1", "2", "0", "B", "D").is_empty());
  EXPECT_EQ(link.err, 3);
  EXPECT_FALSE(link.inuse || link.s7init);
}

}  // namespace
}  // namespace plexum
