#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <deque>
#include <memory>
#include <string>

#include "platform/posix/fixtures.h"

namespace plexum::posix {
namespace {

using test::interposed;

class TcpClientConnectTest : public test::ClientFixture {
 protected:
  // The state that a connection comes to.
  std::int16_t outcome(const std::string& host) {
    client.Close();
    start_to_connect(client, host);
    EXPECT_TRUE(until([&] {
      return client.State() != kTcpResolving && client.State() != kTcpConnecting;
    })) << host;
    return client.State();
  }
};

TEST_F(TcpClientConnectTest, TriesEachAddressOfAName) {
  EXPECT_EQ(outcome("many.invalid"), kTcpConnected) << "at the last one";
  peer.stop_listening();
  EXPECT_EQ(outcome("many.invalid"), kTcpError);
}

// A request to a port on which nobody listens can meet itself.
TEST_F(TcpClientConnectTest, NeverConnectsToItself) {
  peer.stop_listening();
  interposed.connects_to_itself = true;
  for (const char* host : {"127.0.0.1", "::1"}) {
    EXPECT_EQ(outcome(host), kTcpError) << host;
    EXPECT_EQ(client.connect_failure(), ConnectFailure::kRefused) << host;
  }
}

TEST_F(TcpClientConnectTest, ItsSocketNeitherDelaysNorBlocksNorIsInherited) {
  connect();
  int no_delay = 0;
  socklen_t size = sizeof no_delay;
  ::getsockopt(interposed.client, IPPROTO_TCP, TCP_NODELAY, &no_delay, &size);
  EXPECT_NE(no_delay, 0);
  EXPECT_NE(::fcntl(interposed.client, F_GETFL) & O_NONBLOCK, 0);
  EXPECT_NE(::fcntl(interposed.client, F_GETFD) & FD_CLOEXEC, 0);
}

// None of these is the machine itself, on which the peer listens.
TEST_F(TcpClientConnectTest, ReachesNobodyByOtherNames) {
  for (const char* host : {"0", "::ffff:0.0.0.0", "127.0.0.1 x", "name.invalid"}) {
    EXPECT_EQ(outcome(host), kTcpError) << host;
  }
  EXPECT_EQ(outcome("::ffff:127.0.0.1"), kTcpConnected);
}

// Where the peer's backlog is full, a request stays unanswered.
TEST_F(TcpClientConnectTest, AnUnansweredRequestStaysConnectingUntilClose) {
  std::deque<PosixTcpClient> clients;
  for (int i = 0; i < 20; ++i) {
    start_to_connect(clients.emplace_back(loop), "127.0.0.1");
  }
  run_for_a_while();
  PosixTcpClient& unanswered = clients.back();
  EXPECT_EQ(unanswered.State(), kTcpConnecting);
  EXPECT_EQ(unanswered.BytesReceived(), 0);
  unanswered.Close();
  EXPECT_EQ(unanswered.State(), kTcpClosed);
}

// They also are bounded in number.
TEST_F(TcpClientConnectTest, LookUpsMayOutlastEverybodyWhoWantsThem) {
  auto names = std::make_unique<test::SlowNames>();
  {
    EventLoop short_lived_loop;
    std::deque<PosixTcpClient> clients;
    start_to_connect(clients.emplace_back(short_lived_loop), "slow.invalid");
    for (int i = 0; i < 60; ++i) start_to_connect(clients.emplace_back(loop), "slow.invalid");
    start_to_connect(client, "slow.invalid");
    loop.process();
    EXPECT_EQ(clients.front().State(), kTcpResolving);
    EXPECT_EQ(client.State(), kTcpError);
    EXPECT_TRUE(until([] { return test::SlowNames::hanging() == 32; }));
  }
  names.reset();
  EXPECT_EQ(outcome("localhost"), kTcpConnected) << "there is room again";
  run_for_a_while();
  EXPECT_EQ(client.State(), kTcpConnected);
}

// One that hangs is forgotten when its client is closed.
TEST_F(TcpClientConnectTest, AClosedClientHearsNothingOfItsLookUp) {
  auto names = std::make_unique<test::SlowNames>();
  start_to_connect(client, "slow.invalid");
  EXPECT_TRUE(until([] { return test::SlowNames::hanging() == 1; }));
  EXPECT_EQ(client.State(), kTcpResolving);
  EXPECT_EQ(outcome("localhost"), kTcpConnected);
  names.reset();
  run_for_a_while();
  EXPECT_EQ(client.State(), kTcpConnected);
}

}  // namespace
}  // namespace plexum::posix
