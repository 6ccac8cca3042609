#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <chrono>
#include <limits>
#include <string>

#include "platform/posix/event_loop.h"
#include "platform/posix/peer.h"
#include "platform/posix/run_loop.h"
#include "platform/posix/tcp_client.h"

// The linker leads the library's system calls through these.
namespace {

struct Calls {
  int sends = 0;
  int receives = 0;
  int polls = 0;
  int connects = 0;
} calls;

}  // namespace

extern "C" {
// NOLINTBEGIN: the linker's names
ssize_t __real_send(int, const void*, size_t, int);
ssize_t __real_recv(int, void*, size_t, int);
int __real_ppoll(pollfd*, nfds_t, const timespec*, const sigset_t*);
int __real_connect(int, const sockaddr*, socklen_t);

ssize_t __wrap_send(int descriptor, const void* bytes, size_t size, int flags) {
  ++calls.sends;
  return __real_send(descriptor, bytes, size, flags);
}
ssize_t __wrap_recv(int descriptor, void* bytes, size_t size, int flags) {
  ++calls.receives;
  return __real_recv(descriptor, bytes, size, flags);
}
int __wrap_ppoll(pollfd* slots, nfds_t count, const timespec* timeout, const sigset_t* signals) {
  ++calls.polls;
  return __real_ppoll(slots, count, timeout, signals);
}
int __wrap_connect(int descriptor, const sockaddr* address, socklen_t length) {
  ++calls.connects;
  return __real_connect(descriptor, address, length);
}
// NOLINTEND
}

namespace plexum::posix {
namespace {

class SystemCallsTest : public testing::Test {
 protected:
  void connect() {
    client.RemoteHost("127.0.0.1");
    client.RemotePort(listener.port());
    client.Connect();
    EXPECT_TRUE(test::run_until(loop, [&] { return client.State() == kTcpConnected; }));
  }

  EventLoop loop;
  test::Listener listener;
  PosixTcpClient client{loop};
};

// What a job asks of the client, in the order of a read.
TEST_F(SystemCallsTest, AJobCostsOneLookOneSendOneWaitAndOneReceive) {
  connect();
  test::Peer peer = listener.accept();
  // A job that is held up for more than a millisecond looks once more, so the cheapest counts.
  Calls least{9, 9, 9, 9};
  for (int round = 0; round < 50; ++round) {
    calls = {};
    ASSERT_EQ(client.State(), kTcpConnected);
    ASSERT_EQ(client.State(), kTcpConnected);
    client.SendData("request");
    const Calls after_request = calls;
    ASSERT_EQ(peer.receive(7), "request");
    peer.send("answer");
    calls = after_request;
    if (client.BytesReceived() < 6) {
      loop.wait(std::chrono::seconds(10));
      loop.process();
    }
    ASSERT_EQ(client.BytesReceived(), 6);
    ASSERT_EQ(client.State(), kTcpConnected);
    ASSERT_EQ(client.GetData(), "answer");
    const auto sum = [](const Calls& c) { return c.sends + c.receives + c.polls; };
    if (sum(calls) < sum(least)) least = calls;
  }
  EXPECT_EQ(least.sends, 1);
  EXPECT_EQ(least.polls, 1);
  EXPECT_EQ(least.receives, 2) << "a look at the job's start and the answer";
}

// Slices without an answer cost their wait alone.
TEST_F(SystemCallsTest, AnEmptySliceCostsOneWait) {
  connect();
  test::Peer peer = listener.accept();
  client.State();
  int least = std::numeric_limits<int>::max();
  for (int slice = 0; slice < 50; ++slice) {
    calls = {};
    loop.wait(std::chrono::milliseconds(1));
    EXPECT_EQ(client.BytesReceived(), 0);
    least = std::min(least, calls.polls + calls.receives);
  }
  EXPECT_EQ(least, 1);
}

TEST_F(SystemCallsTest, ProcessingWhatAWaitRememberedAsksNothing) {
  loop.post([] {});
  loop.wait(std::chrono::seconds(10));
  calls = {};
  loop.process();
  EXPECT_EQ(calls.polls, 0);
  loop.process();
  EXPECT_EQ(calls.polls, 1);
}

TEST_F(SystemCallsTest, AClosedClientAsksNothing) {
  connect();
  client.Close();
  calls = {};
  EXPECT_EQ(client.State(), kTcpClosed);
  EXPECT_EQ(client.BytesReceived(), 0);
  EXPECT_EQ(client.GetData(), "");
  EXPECT_EQ(calls.receives + calls.polls + calls.connects, 0);
}

}  // namespace
}  // namespace plexum::posix
