#include "protocol/telegram.h"
#include "support/link_fixture.h"

namespace plexum {
namespace {

using test::bytes;
using test::error_of;
using test::hex;

constexpr const char* kSetup =
    "03 00 00 19 02 F0 80 32 01 00 00 FF FF 00 08 00 00 F0 00 00 03 00 03 03 C0";

class Connection : public test::LinkFixture {
 protected:
  bool ini(const std::string& port = "102") { return link.ag_ini("127.0.0.1", port, "1.0", "3.2"); }
};

TEST_F(Connection, ConnectsByTwoTelegrams) {
  tcp_client.answers = {connection_confirm(), setup_answer()};
  EXPECT_TRUE(link.ag_ini("plc", " 1102.5 ", "1.0", "10.12"));
  EXPECT_EQ(tcp_client.host, "plc");
  EXPECT_EQ(tcp_client.port, 1102) << "halves to even";
  ASSERT_EQ(tcp_client.sent.size(), 2u);
  EXPECT_EQ(hex(tcp_client.sent[0]),
            "03 00 00 16 11 E0 00 00 00 2E 00 C2 02 10 12 C1 02 01 00 C0 01 09");
  EXPECT_EQ(hex(tcp_client.sent[1]), kSetup);
  EXPECT_EQ(state(), "0 idle s7init 0 Send/Receive Ready");
  EXPECT_EQ(link.StateLabel(), "7");
  EXPECT_EQ(link.StatusLabel(), "");
  link.Timer1_Timer();
  EXPECT_EQ(link.StatusLabel(), "Send/Receive Ready");
  EXPECT_EQ(environment.pumps, 0);
}

TEST_F(Connection, AnOpenOrBrokenConnectionIsClosedFirst) {
  for (const std::int16_t before : {kTcpError, kTcpPeerClosing, kTcpConnected}) {
    tcp_client.state = before;
    tcp_client.log.clear();
    environment.pumps = 0;
    tcp_client.answers = {connection_confirm(), setup_answer()};
    EXPECT_TRUE(ini());
    EXPECT_EQ(tcp_client.log[0], "Close");
    EXPECT_EQ(tcp_client.log[1], "Connect");
    EXPECT_EQ(environment.pumps, 1);
  }
}

TEST_F(Connection, AConnectionUnderWayIsWaitedFor) {
  tcp_client.state = kTcpConnecting;
  tcp_client.answers = {connection_confirm(), setup_answer()};
  environment.on_wait = [&](std::uint32_t ms) {
    tcp_client.state = kTcpConnected;
    return ms;
  };
  EXPECT_TRUE(ini("no port, and not looked at"));
  EXPECT_EQ(tcp_client.log[0], "SendData");
}

TEST_F(Connection, EachFailureLeavesItsOwnState) {
  struct Case {
    const char* description;
    std::function<void()> prepare;
    std::size_t sent;
    int waits;
    const char* state;
    const char* state_label;
  };
  const Case cases[] = {
      {"refused", [&] { tcp_client.on_connect = [&] { tcp_client.state = kTcpError; }; }, 0, 6,
       "1 inuse no-s7init 0 TCP Not Ready", "9"},  // no text of its own
      {"no confirm", [&] { tcp_client.answers = {std::string(21, 'x')}; }, 1, 6,
       "3 idle no-s7init 0 INI Exit", "7"},
      {"confirm lost with the connection",
       [&] {
         tcp_client.on_send = [&](const std::string&) { tcp_client.state = kTcpPeerClosing; };
       },
       1, 6, "3 idle no-s7init 0 INI Exit", "7"},
      {"no setup answer",
       [&] {
         tcp_client.answers = {connection_confirm(), std::string(26, 'x')};
       },
       2, 6, "0 inuse no-s7init 0 INI Wait Data", "7"},
      {"both answers at once count as one confirm",
       [&] { tcp_client.answers = {connection_confirm() + setup_answer()}; }, 2, 6,
       "0 inuse no-s7init 0 INI Wait Data", "7"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.description);
    tcp_client.on_connect = [&] { tcp_client.state = kTcpConnected; };
    connect();
    link.ag_exit();
    forget();
    link.inuse(true);  // of a job whose host re-entered
    link.s7init(true);
    c.prepare();
    EXPECT_FALSE(ini());
    EXPECT_EQ(tcp_client.sent.size(), c.sent);
    EXPECT_EQ(environment.waits, c.waits);
    EXPECT_EQ(state(), c.state);
    EXPECT_EQ(link.StateLabel(), c.state_label);
  }
}

TEST_F(Connection, TsapTexts) {
  struct Case {
    const char* tsap;
    std::int32_t error;
    const char* bytes;
  };
  const Case cases[] = {
      {"10.12", 0, "10 12"},           {"99.9", 0, "99 09"},
      {"100.159", 0, "A0 F9"},         {"2.2.5", 0, "02 02"},
      {"0", kInvalidArgument, ""},     {"1.", kTypeMismatch, ""},
      {".1", kTypeMismatch, ""},       {"160.0", kInvalidArgument, ""},
      {"1.200", kInvalidArgument, ""}, {"-1.0", kInvalidArgument, ""},
      {"40000.0", kOverflow, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.tsap);
    tcp_client.state = kTcpClosed;
    forget();
    tcp_client.answers = {connection_confirm(), setup_answer()};
    link.s7init(false);
    EXPECT_EQ(error_of([&] { link.ag_ini("127.0.0.1", "102", "1.0", c.tsap); }), c.error);
    if (c.error == 0) {
      EXPECT_EQ(hex(tcp_client.sent.at(0)).substr(39, 5), c.bytes);
    } else {
      EXPECT_TRUE(tcp_client.sent.empty());
      EXPECT_EQ(state(), "0 idle no-s7init 0 Connect Send Data");
    }
    tcp_client.state = kTcpClosed;
    EXPECT_EQ(error_of([&] { link.ag_ini("127.0.0.1", "102", c.tsap, "1.0"); }), c.error);
  }
}

TEST_F(Connection, BothTsapsAreReadBeforeAByteIsMadeOfEither) {
  EXPECT_EQ(error_of([&] { link.ag_ini("127.0.0.1", "102", "1.x", "160.0"); }), kTypeMismatch);
}

TEST_F(Connection, PortTextsAndTheTcpClientsOwnErrors) {
  EXPECT_EQ(error_of([&] { ini("ten"); }), kTypeMismatch);
  EXPECT_EQ(tcp_client.host, "127.0.0.1") << "the address is set before the port is read";
  EXPECT_EQ(error_of([&] { ini("2147483648"); }), kOverflow);
  EXPECT_EQ(tcp_client.log.size(), 0u);

  // The request is sent even when the connection has just gone.
  struct Vanishing : test::ScriptedTcpClient {
    int asked = 0;
    std::int16_t State() override {
      return asked++ < 2 ? kTcpClosed : asked == 3 ? kTcpConnected : kTcpError;
    }
  } vanishing;
  vanishing.on_connect = [] {};
  PlexumLink other(environment, vanishing);
  EXPECT_EQ(error_of([&] { other.ag_ini("127.0.0.1", "102", "1.0", "1.0"); }), kTcpWrongState);
  EXPECT_EQ(other.status_text(), "Connect Send Data");
}

TEST_F(Connection, ATextOfTzeitSlicesAndAnEarlyEndCounts) {
  tcp_client.on_connect = [] {};
  for (const auto& [tzeit, waits] : {std::pair{0, 1}, {-3, 1}, {-2147483647 - 1, 1}, {2, 3}}) {
    link.Tzeit(tzeit);
    environment.waits = 0;
    EXPECT_FALSE(ini());
    EXPECT_EQ(environment.waits, waits);
  }
  // Slices that messages end at once are slices all the same; the host may end the wait by Tzeit.
  link.Tzeit(1000000);
  environment.waits = environment.pumps = 0;
  environment.on_wait = [&](std::uint32_t) { return 0u; };
  environment.on_process_messages = [&] {
    if (environment.pumps == 7) link.Tzeit(3);
  };
  EXPECT_FALSE(ini());
  EXPECT_EQ(environment.waits, 7);
  EXPECT_EQ(link.err(), 1);
}

TEST_F(Connection, AgExitLeavesTheStateToTheNextJob) {
  connect();
  link.err(7);
  EXPECT_TRUE(link.ag_exit());
  EXPECT_EQ(tcp_client.log, std::vector<std::string>{"Close"});
  EXPECT_EQ(environment.pumps, 1);
  EXPECT_EQ(state(), "7 idle s7init 0 TCP Not Ready");
}

TEST(Telegram, ErrorNumberJoinsDecimalDigits) {
  struct Case {
    const char* class_and_code;
    std::int32_t number;
  };
  for (const Case& c :
       {Case{"00 00", 0}, Case{"85 00", 1330}, Case{"D2 09", 2109}, Case{"00 11", 17},
        Case{"01 0B", 111}, Case{"0B 01", 111}, Case{"FF FF", 255255}}) {
    EXPECT_EQ(error_number(std::string(17, 'x') + bytes(c.class_and_code)), c.number);
  }
  EXPECT_THROW(error_number(std::string(18, 'x')), RuntimeError);
}

}  // namespace
}  // namespace plexum
