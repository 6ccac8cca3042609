#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

#include "platform/posix/fixtures.h"

namespace plexum::posix {
namespace {

using std::chrono::milliseconds;
using test::interposed;
using testing::ElementsAre;

// A connected client that has just been asked; the clock stands.
class SystemCallsTest : public test::ClientFixture {
 protected:
  void SetUp() override {
    connect();
    interposed.time = EventLoop::Clock::now();
    client.State();
    interposed.calls.clear();
  }
};

// A job asks, sends its request, waits and takes the answer. The host's messages may have been
// processed meanwhile or not. The timer for its wait is set once for all jobs of a millisecond.
TEST_F(SystemCallsTest, AJobCostsThree) {
  const auto job = [&](bool processes) {
    ASSERT_EQ(client.State(), kTcpConnected);
    client.SendData("request");
    ASSERT_EQ(client.BytesReceived(), 0);
    ASSERT_EQ(peer.receive(7), "request");
    peer.send("answer");
    loop.wait(milliseconds(1));
    if (processes) loop.process();
    ASSERT_EQ(client.BytesReceived(), 6);
    ASSERT_EQ(client.State(), kTcpConnected);
    ASSERT_EQ(client.GetData(), "answer");
  };
  job(true);
  for (int millisecond = 0; millisecond < 2; ++millisecond) {
    *interposed.time += milliseconds(1);
    loop.process();  // so that nothing is to be looked at
    interposed.calls.clear();
    for (const bool processes : {false, true}) job(processes);
    EXPECT_THAT(interposed.calls,
                ElementsAre("send", "alarm", "wait", "recv", "send", "wait", "recv"));
  }
}

TEST_F(SystemCallsTest, AnEmptySliceCostsItsWaitAlone) {
  for (int slice = 0; slice < 2; ++slice) {
    *interposed.time += milliseconds(2);
    interposed.calls.clear();
    loop.wait(milliseconds(1));
    EXPECT_EQ(client.BytesReceived(), 0);
  }
  EXPECT_THAT(interposed.calls, ElementsAre("wait 1"));
}

// A host that asks again and again without its loop asks the system once a millisecond.
TEST_F(SystemCallsTest, KnowledgeLastsAMillisecond) {
  peer.send("answer");
  await_arrival(POLLIN);
  EXPECT_EQ(client.BytesReceived(), 0);
  *interposed.time += milliseconds(1);
  EXPECT_EQ(client.BytesReceived(), 6);
}

// The end of a connection that came with an answer is known when the answer is taken; one that
// comes later is known a millisecond later, or after the next wait.
TEST_F(SystemCallsTest, TheEndIsKnownBehindTheAnswer) {
  for (const bool with_answer : {true, false}) {
    client.Close();
    connect();
    peer.send("answer");
    if (with_answer) {
      peer.finish();
      await_arrival(POLLRDHUP);
    }
    loop.wait(test::kLong);
    ASSERT_EQ(client.GetData(), "answer");
    if (!with_answer) {
      peer.finish();
      await_arrival(POLLRDHUP);
      *interposed.time += milliseconds(1);
    }
    EXPECT_EQ(client.State(), kTcpPeerClosing);
  }
}

TEST_F(SystemCallsTest, ProcessingWhatAWaitRememberedAsksNothing) {
  loop.post([] {});
  loop.wait(test::kLong);
  interposed.calls.clear();
  loop.process();
  EXPECT_THAT(interposed.calls, ElementsAre());
  loop.process();
  EXPECT_THAT(interposed.calls, ElementsAre("wait 0"));
}

}  // namespace
}  // namespace plexum::posix
