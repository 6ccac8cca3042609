#include <gtest/gtest.h>

#include <chrono>
#include <ostream>

#include "platform/posix/event_loop.h"
#include "platform/posix/interposed.h"
#include "platform/posix/peer.h"
#include "platform/posix/run_loop.h"
#include "platform/posix/tcp_client.h"

namespace plexum::posix {
namespace test {

void PrintTo(const SystemCalls& calls, std::ostream* out) {
  *out << calls.sends << " sends, " << calls.receives << " receives, " << calls.polls << " polls, "
       << calls.connects << " connects";
}

}  // namespace test

namespace {

using test::StandingClock;
using test::system_calls;
using test::SystemCalls;

class SystemCallsTest : public testing::Test {
 protected:
  SystemCallsTest() {
    client.RemoteHost("127.0.0.1");
    client.RemotePort(listener.port());
    client.Connect();
    EXPECT_TRUE(test::run_until(loop, [&] { return client.State() == kTcpConnected; }));
  }

  EventLoop loop;
  test::Listener listener;
  PosixTcpClient client{loop};
};

// What a job asks of the client, in its order: a look at the start, the request, the wait, the
// answer.
TEST_F(SystemCallsTest, AJobCostsFour) {
  test::Peer peer = listener.accept();
  StandingClock clock;
  for (int round = 0; round < 5; ++round) {
    system_calls = {};
    ASSERT_EQ(client.State(), kTcpConnected);
    ASSERT_EQ(client.State(), kTcpConnected);
    client.SendData("request");
    ASSERT_EQ(client.BytesReceived(), 0);
    ASSERT_EQ(peer.receive(7), "request");
    peer.send("answer");
    clock.advance(std::chrono::milliseconds(5));  // in the wait
    loop.wait(std::chrono::seconds(10));
    loop.process();
    ASSERT_EQ(client.BytesReceived(), 6);
    ASSERT_EQ(client.State(), kTcpConnected);
    ASSERT_EQ(client.GetData(), "answer");
    EXPECT_EQ(system_calls, (SystemCalls{.sends = 1, .receives = 2, .polls = 1}));
  }
}

// The same when the wait took its full time, after which a host processes no messages.
TEST_F(SystemCallsTest, TheAnswerIsTakenOnceWithOrWithoutProcessing) {
  test::Peer peer = listener.accept();
  StandingClock clock;
  client.State();
  peer.send("answer");
  loop.wait(std::chrono::seconds(10));
  system_calls = {};
  EXPECT_EQ(client.BytesReceived(), 6);
  EXPECT_EQ(client.State(), kTcpConnected);
  EXPECT_EQ(system_calls, (SystemCalls{.receives = 1}));
}

TEST_F(SystemCallsTest, AnEmptySliceCostsItsWaitAlone) {
  test::Peer peer = listener.accept();
  StandingClock clock;
  client.State();
  for (int slice = 0; slice < 5; ++slice) {
    system_calls = {};
    clock.advance(std::chrono::milliseconds(2));
    loop.wait(std::chrono::milliseconds(1));
    EXPECT_EQ(client.BytesReceived(), 0);
    EXPECT_EQ(system_calls, (SystemCalls{.polls = 1}));
  }
}

// A host that asks again and again without its loop asks the system once a millisecond.
TEST_F(SystemCallsTest, KnowledgeLastsAMillisecond) {
  test::Peer peer = listener.accept();
  StandingClock clock;
  client.State();
  peer.send("answer");
  EXPECT_EQ(client.BytesReceived(), 0);
  clock.advance(std::chrono::milliseconds(1));
  EXPECT_EQ(client.BytesReceived(), 6);
}

TEST_F(SystemCallsTest, ProcessingWhatAWaitRememberedAsksNothing) {
  loop.post([] {});
  loop.wait(std::chrono::seconds(10));
  system_calls = {};
  loop.process();
  EXPECT_EQ(system_calls, SystemCalls{});
  loop.process();
  EXPECT_EQ(system_calls, (SystemCalls{.polls = 1}));
}

TEST_F(SystemCallsTest, AClosedClientAsksNothing) {
  client.Close();
  system_calls = {};
  EXPECT_EQ(client.State(), kTcpClosed);
  EXPECT_EQ(client.BytesReceived(), 0);
  EXPECT_EQ(client.GetData(), "");
  EXPECT_EQ(system_calls, SystemCalls{});
}

}  // namespace
}  // namespace plexum::posix
