#include "platform/posix/tcp_client.h"

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <ostream>
#include <string>

#include "base/runtime_error.h"
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

TEST_F(TcpClientTest, WhatArrivesEndsAWaitAndIsKnownBeforeAnyHandlerHasRun) {
  peer.send("answer");
  EXPECT_TRUE(wakes());
  EXPECT_EQ(client.BytesReceived(), 6);
  loop.process();
  EXPECT_EQ(client.GetData(), "answer");
}

// How a connection ends, and the state that is told once all bytes are taken.
struct Ending {
  const char* name;
  void (TcpPeer::*end)();
  std::int16_t state;

  friend void PrintTo(const Ending& ending, std::ostream* out) { *out << ending.name; }
};

class TcpClientEndings : public TcpClientTest, public testing::WithParamInterface<Ending> {
 protected:
  void end() { (peer.*GetParam().end)(); }

  void expect_a_clean_next_connection() {
    client.Close();
    connect();
    client.SendData("again");
    EXPECT_EQ(peer.receive(5), "again");
  }
};

TEST_P(TcpClientEndings, WithoutBytes) {
  end();
  EXPECT_TRUE(comes_to(GetParam().state));
  EXPECT_EQ(early_waits(), 0) << "an ended connection must not wake the loop again";
  expect_a_clean_next_connection();
}

TEST_P(TcpClientEndings, BehindBytesThatAreNotTaken) {
  peer.send("last words");
  end();
  ASSERT_TRUE(until([&] { return client.BytesReceived() == 10; }));
  EXPECT_LE(early_waits(), 1);
  for (int i = 0; i < 3; ++i) {
    client.SendData("nobody reads this");  // nor may a signal end this program
    run_for_a_while();
    EXPECT_EQ(client.State(), kTcpConnected);
  }
  EXPECT_EQ(client.GetData(), "last words");
  EXPECT_TRUE(until([&] { return client.State() != kTcpConnected; }));
  EXPECT_EQ(early_waits(), 0);
  expect_a_clean_next_connection();
}

TEST_P(TcpClientEndings, WithAFullQueue) {
  client.SendData(std::string(portable::kOutboundLimit, 'q'));
  end();
  EXPECT_TRUE(until([&] { return client.State() != kTcpConnected; }));
  expect_a_clean_next_connection();
}

INSTANTIATE_TEST_SUITE_P(Each, TcpClientEndings,
                         testing::Values(Ending{"close", &TcpPeer::close, kTcpPeerClosing},
                                         Ending{"half_close", &TcpPeer::finish, kTcpPeerClosing},
                                         Ending{"reset", &TcpPeer::reset, kTcpError}),
                         [](const auto& ending) { return std::string(ending.param.name); });

// What exceeds the queue's bound is refused whole; the rest goes even to a peer that has finished
// sending.
TEST_F(TcpClientTest, TheQueueIsBoundedAndReachesAPeerThatOnlyReads) {
  std::string queued(std::size_t{12} << 20, '\0');
  for (std::size_t i = 0; i < queued.size(); ++i) queued[i] = static_cast<char>(i * 7 / 5);
  client.SendData(queued);
  try {
    client.SendData(std::string(portable::kOutboundLimit, 'x'));
    ADD_FAILURE() << "beyond the limit";
  } catch (const RuntimeError& error) {
    EXPECT_EQ(error.number(), portable::kNoBufferSpace);
  }
  peer.finish();
  EXPECT_TRUE(comes_to(kTcpPeerClosing));
  std::string received;
  EXPECT_TRUE(until([&] {
    received += peer.receive_some(std::size_t{1} << 20);
    return received.size() >= queued.size();
  }));
  EXPECT_TRUE(received == queued);
  EXPECT_EQ(early_waits(), 0) << "an empty queue must not wake the loop";
  client.Close();
  EXPECT_EQ(peer.receive(1), "");
}

// The client learns of the reset by sending, before it has seen what came ahead of it.
TEST_F(TcpClientTest, AFailedSendLosesNothingThatArrived) {
  test::interposed.time = EventLoop::Clock::now();
  EXPECT_EQ(client.BytesReceived(), 0);
  peer.send("last words");
  await_arrival(POLLIN);
  peer.reset();
  await_arrival(0);
  client.SendData("telegram");
  EXPECT_EQ(client.State(), kTcpConnected);
  EXPECT_EQ(client.GetData(), "last words");
  EXPECT_EQ(client.State(), kTcpError);
}

TEST_F(TcpClientTest, AFullClientLeavesTheLoopAloneAndLosesNothingByAFailedSend) {
  constexpr std::size_t kLimit = portable::kInboundLimit;
  const std::string sent(kLimit, 'i');
  std::size_t gone = 0;
  EXPECT_TRUE(until([&] {
    gone += peer.send_some(sent.substr(gone));
    return client.BytesReceived() == static_cast<std::int32_t>(kLimit);
  }));
  peer.send("the rest");
  await_arrival(POLLIN);
  EXPECT_EQ(early_waits(), 0);
  peer.reset();
  await_arrival(0);
  client.SendData("telegram");
  EXPECT_EQ(client.GetData().size(), kLimit);
  EXPECT_EQ(client.GetData(), "the rest");
  EXPECT_EQ(client.State(), kTcpError);
}

}  // namespace
}  // namespace plexum::posix
