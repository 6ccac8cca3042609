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

// A job looks at the start, sends its request, waits and takes the answer. The host's messages may
// have been processed meanwhile or not.
TEST_F(SystemCallsTest, AJobCostsFour) {
  for (const bool processes : {true, false, true}) {
    client.GetData();
    interposed.calls.clear();
    ASSERT_EQ(client.State(), kTcpConnected);
    ASSERT_EQ(client.State(), kTcpConnected);
    client.SendData("request");
    ASSERT_EQ(client.BytesReceived(), 0);
    ASSERT_EQ(peer.receive(7), "request");
    peer.send("answer");
    *interposed.time += milliseconds(5);  // in the wait
    loop.wait(test::kLong);
    if (processes) loop.process();
    ASSERT_EQ(client.BytesReceived(), 6);
    ASSERT_EQ(client.State(), kTcpConnected);
    ASSERT_EQ(client.GetData(), "answer");
    EXPECT_THAT(interposed.calls, ElementsAre("recv", "send", "ppoll", "recv"));
  }
}

TEST_F(SystemCallsTest, AnEmptySliceCostsItsWaitAlone) {
  *interposed.time += milliseconds(2);
  loop.wait(milliseconds(1));
  EXPECT_EQ(client.BytesReceived(), 0);
  EXPECT_THAT(interposed.calls, ElementsAre("ppoll"));
}

// A host that asks again and again without its loop asks the system once a millisecond.
TEST_F(SystemCallsTest, KnowledgeLastsAMillisecond) {
  peer.send("answer");
  await_arrival(POLLIN);
  EXPECT_EQ(client.BytesReceived(), 0);
  *interposed.time += milliseconds(1);
  EXPECT_EQ(client.BytesReceived(), 6);
}

TEST_F(SystemCallsTest, TheFirstQuestionAfterATakeSeesWhatHappenedJustBefore) {
  client.GetData();
  peer.close();
  await_arrival(POLLIN);
  EXPECT_EQ(client.State(), kTcpPeerClosing);
}

TEST_F(SystemCallsTest, ProcessingWhatAWaitRememberedAsksNothing) {
  loop.post([] {});
  loop.wait(test::kLong);
  interposed.calls.clear();
  loop.process();
  EXPECT_THAT(interposed.calls, ElementsAre());
  loop.process();
  EXPECT_THAT(interposed.calls, ElementsAre("ppoll"));
}

}  // namespace
}  // namespace plexum::posix
