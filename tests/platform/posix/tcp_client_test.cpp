#include "platform/posix/tcp_client.h"

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>

#include "platform/portable/limits.h"
#include "platform/posix/fixtures.h"
#include "support/tcp_client_contract.h"

namespace plexum::test {

struct PosixWorld {
  static constexpr bool kTellsResets = true;

  TcpClient& client() { return *own; }
  void wait() {
    loop.wait(std::chrono::milliseconds(10));
    loop.process();
  }
  void drop_client() { own.reset(); }

  posix::EventLoop loop;
  std::optional<posix::PosixTcpClient> own{loop};
};

INSTANTIATE_TYPED_TEST_SUITE_P(Posix, TcpClientContract, PosixWorld);

}  // namespace plexum::test

namespace plexum::posix {
namespace {

using plexum::test::TcpPeer;

// A client and its peer, connected.
class TcpClientTest : public test::ClientFixture {
 protected:
  void SetUp() override { connect(); }

  // How many of ten waits of a few milliseconds end early.
  int early_waits() {
    constexpr std::chrono::milliseconds kWait{3};
    int early = 0;
    for (int i = 0; i < 10; ++i) {
      const auto start = EventLoop::Clock::now();
      loop.wait(kWait);
      early += EventLoop::Clock::now() - start < kWait ? 1 : 0;
      loop.process();
    }
    return early;
  }
};

TEST_F(TcpClientTest, AnEndedConnectionLeavesTheLoopAlone) {
  for (const auto end : {&TcpPeer::close, &TcpPeer::finish, &TcpPeer::reset}) {
    peer.send("last words");
    (peer.*end)();
    ASSERT_TRUE(until([&] { return client.BytesReceived() == 10; }));
    EXPECT_LE(early_waits(), 1);
    client.GetData();
    EXPECT_TRUE(until([&] { return client.State() != kTcpConnected; }));
    EXPECT_EQ(early_waits(), 0);
    client.Close();
    connect();
  }
}

// The client learns of the reset by sending, before it has seen what came ahead of it. A full one
// leaves the loop alone meanwhile.
TEST_F(TcpClientTest, AFailedSendLosesNothingThatArrived) {
  constexpr std::size_t kLimit = portable::kInboundLimit;
  for (const std::size_t before : {std::size_t{0}, kLimit}) {
    test::interposed.time.reset();
    const std::string sent(before, 'i');
    std::size_t gone = 0;
    EXPECT_TRUE(until([&] {
      gone += peer.send_some(sent.substr(gone));
      return client.BytesReceived() == static_cast<std::int32_t>(before);
    }));
    EXPECT_EQ(early_waits(), 0);
    test::interposed.time = EventLoop::Clock::now();
    EXPECT_EQ(client.BytesReceived(), static_cast<std::int32_t>(before));
    peer.send("last words");
    await_arrival(POLLIN);
    peer.reset();
    await_arrival(0);
    client.SendData("telegram");
    EXPECT_EQ(client.State(), kTcpConnected);
    if (before > 0) {
      EXPECT_EQ(client.GetData().size(), before);
    }
    EXPECT_EQ(client.GetData(), "last words");
    EXPECT_EQ(client.State(), kTcpError);
    client.Close();
    connect();
  }
}

}  // namespace
}  // namespace plexum::posix
