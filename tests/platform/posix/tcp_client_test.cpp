#include "platform/posix/tcp_client.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <functional>
#include <string>
#include <thread>

#include "control/runtime_error.h"
#include "platform/posix/event_loop.h"
#include "platform/posix/interposed.h"
#include "platform/posix/peer.h"
#include "platform/posix/run_loop.h"

namespace plexum::posix {
namespace {

using std::chrono::milliseconds;
using test::Listener;
using test::Peer;

constexpr auto kLimit = static_cast<std::int32_t>(PosixTcpClient::kInboundLimit);

// A client and its peer, connected.
class TcpClientTest : public testing::Test {
 protected:
  TcpClientTest() : client(loop), peer(connect()) {}

  Peer connect() {
    client.RemoteHost("127.0.0.1");
    client.RemotePort(listener.port());
    client.Connect();
    EXPECT_TRUE(until([&] { return client.State() == kTcpConnected; }));
    return listener.accept();
  }

  bool until(const std::function<bool()>& done) { return test::run_until(loop, done); }

  // The same with no loop running, as from a host that only asks.
  static bool asked_until(const std::function<bool()>& done) {
    for (int i = 0; i < 5000; ++i) {
      if (done()) return true;
      std::this_thread::sleep_for(milliseconds(1));
    }
    return false;
  }

  // How many of ten waits of a few milliseconds end early.
  int early_waits() {
    int early = 0;
    for (int i = 0; i < 10; ++i) {
      const auto start = EventLoop::Clock::now();
      loop.wait(milliseconds(3));
      early += EventLoop::Clock::now() - start < milliseconds(3) ? 1 : 0;
      loop.process();
    }
    return early;
  }

  EventLoop loop;
  Listener listener;
  PosixTcpClient client;
  Peer peer;
};

TEST_F(TcpClientTest, CarriesBytesBothWaysAndWakesTheLoop) {
  const std::string bytes("\0\xFF\r\n\x03", 5);
  client.SendData(bytes);
  EXPECT_EQ(peer.receive(5), bytes);
  peer.send(bytes);
  loop.wait(std::chrono::seconds(10));  // ends at once, or the test takes too long
  EXPECT_EQ(client.BytesReceived(), 5) << "known before any handler has run";
  loop.process();
  EXPECT_EQ(client.BytesReceived(), 5);
  EXPECT_EQ(client.GetData(), bytes);
  EXPECT_EQ(client.BytesReceived(), 0);
  EXPECT_EQ(client.GetData(), "");
}

TEST_F(TcpClientTest, PiecesAddUp) {
  for (int i = 1; i <= 5; ++i) {
    peer.send("x");
    EXPECT_TRUE(until([&] { return client.BytesReceived() == i; }));
  }
  EXPECT_EQ(client.GetData(), "xxxxx");
}

TEST_F(TcpClientTest, TellsTheTruthWithoutALoop) {
  EXPECT_EQ(client.BytesReceived(), 0);
  peer.send("abc");
  EXPECT_TRUE(asked_until([&] { return client.BytesReceived() == 3; }));
  EXPECT_EQ(client.GetData(), "abc");
  peer.send("d");
  EXPECT_TRUE(asked_until([&] { return client.GetData() == "d"; }));
  peer.close();
  EXPECT_TRUE(asked_until([&] { return client.State() == kTcpPeerClosing; }));
}

// On the machine itself a send or close has arrived when the call returns.
TEST_F(TcpClientTest, TheFirstQuestionAfterATakeSeesWhatHappenedJustBefore) {
  peer.send("answer");
  ASSERT_TRUE(until([&] { return client.BytesReceived() == 6; }));
  EXPECT_EQ(client.GetData(), "answer");
  peer.close();
  EXPECT_EQ(client.State(), kTcpPeerClosing);
}

// How a connection ends, and the state that is told once all bytes are taken.
struct Ending {
  const char* name;
  void (*end)(Peer&);
  std::int16_t state;
};

const Ending kEndings[] = {
    {"close", [](Peer& peer) { peer.close(); }, kTcpPeerClosing},
    {"half_close", [](Peer& peer) { peer.finish_sending(); }, kTcpPeerClosing},
    {"reset", [](Peer& peer) { peer.reset(); }, kTcpError},
};

class TcpClientEndings : public TcpClientTest, public testing::WithParamInterface<Ending> {};

TEST_P(TcpClientEndings, WithoutBytes) {
  GetParam().end(peer);
  EXPECT_TRUE(until([&] { return client.State() == GetParam().state; }));
  EXPECT_EQ(client.BytesReceived(), 0);
  EXPECT_EQ(early_waits(), 0) << "an ended connection must not wake the loop again";
  EXPECT_THROW(client.SendData("x"), RuntimeError);
  client.Close();
  EXPECT_EQ(client.State(), kTcpClosed);
  peer = connect();
  client.SendData("again");
  EXPECT_EQ(peer.receive(5), "again");
}

TEST_P(TcpClientEndings, BehindBytesThatAreNotTaken) {
  peer.send("last words");
  GetParam().end(peer);
  ASSERT_TRUE(until([&] { return client.BytesReceived() == 10; }));
  EXPECT_LE(early_waits(), 1);
  EXPECT_EQ(client.State(), kTcpConnected);
  client.SendData("nobody reads this");
  EXPECT_EQ(client.State(), kTcpConnected);
  EXPECT_EQ(client.GetData(), "last words");
  EXPECT_TRUE(until([&] { return client.State() != kTcpConnected; }));
  EXPECT_EQ(early_waits(), 0);
}

TEST_P(TcpClientEndings, BehindBytesThatAreTaken) {
  peer.send("last words");
  GetParam().end(peer);
  ASSERT_TRUE(until([&] { return client.BytesReceived() == 10; }));
  EXPECT_EQ(client.GetData(), "last words");
  EXPECT_EQ(client.State(), GetParam().state);
}

TEST_P(TcpClientEndings, WhileSending) {
  GetParam().end(peer);
  client.GetData();  // now it would look; sending must hold as well when it didn't
  for (int i = 0; i < 100 && client.State() == kTcpConnected; ++i) client.SendData("telegram");
  EXPECT_TRUE(until([&] { return client.State() == GetParam().state; }));
}

TEST_P(TcpClientEndings, WithAFullQueue) {
  client.SendData(std::string(PosixTcpClient::kOutboundLimit, 'q'));
  GetParam().end(peer);
  EXPECT_TRUE(
      until([&] { return client.State() == kTcpPeerClosing || client.State() == kTcpError; }));
  // A peer that has only finished sending still reads.
  if (std::string(GetParam().name) != "half_close") {
    EXPECT_EQ(early_waits(), 0);
  }
}

INSTANTIATE_TEST_SUITE_P(Each, TcpClientEndings, testing::ValuesIn(kEndings),
                         [](const auto& ending) { return std::string(ending.param.name); });

TEST_F(TcpClientTest, APeerThatOnlyFinishedSendingGetsTheRest) {
  std::string sent(8 << 20, '\0');
  for (std::size_t i = 0; i < sent.size(); ++i) sent[i] = static_cast<char>(i * 7 / 5);
  client.SendData(sent);
  peer.finish_sending();
  EXPECT_TRUE(until([&] { return client.State() == kTcpPeerClosing; }));
  std::string received;
  std::thread reader([&] { received = peer.receive(sent.size()); });
  bool done = false;
  std::thread watcher([&] {
    reader.join();
    loop.post([&] { done = true; });
  });
  EXPECT_TRUE(until([&] { return done; }));
  watcher.join();
  EXPECT_TRUE(received == sent);
}

// A telegram may be far larger than what the system takes at once; more than the limit is refused
// whole and leaves the queue as it was.
TEST_F(TcpClientTest, QueuesForASlowReaderUpToALimit) {
  std::string sent(6 << 20, '\0');
  for (std::size_t i = 0; i < sent.size(); ++i) sent[i] = static_cast<char>(i * 11 / 3);
  client.SendData(sent);
  client.SendData("tail");
  try {
    client.SendData(std::string(PosixTcpClient::kOutboundLimit, 'x'));
    ADD_FAILURE() << "beyond the limit";
  } catch (const RuntimeError& error) {
    EXPECT_EQ(error.number(), PosixTcpClient::kNoBufferSpace);
  }
  sent += "tail";
  std::string received;
  bool done = false;
  std::thread reader([&] {
    while (received.size() < sent.size()) {
      const std::string piece =
          peer.receive(std::min<std::size_t>(300'000, sent.size() - received.size()));
      if (piece.empty()) break;
      received += piece;
      std::this_thread::sleep_for(milliseconds(1));
    }
    loop.post([&] { done = true; });
  });
  EXPECT_TRUE(until([&] { return done; }));
  reader.join();
  EXPECT_TRUE(received == sent);
  EXPECT_EQ(early_waits(), 0) << "an empty queue must not wake the loop";
  client.Close();
  EXPECT_EQ(peer.receive(1), "") << "nothing but what was to be sent";
}

TEST_F(TcpClientTest, HoldsAtMostTheLimitOfUntakenBytes) {
  const std::string sent(5 << 20, 'i');
  std::thread sender([&] {
    peer.send(sent);
    peer.close();
  });
  EXPECT_TRUE(until([&] { return client.BytesReceived() == kLimit; }));
  EXPECT_EQ(early_waits(), 0);
  EXPECT_EQ(client.BytesReceived(), kLimit);
  EXPECT_EQ(client.State(), kTcpConnected);
  std::size_t taken = 0;
  EXPECT_TRUE(until([&] {
    const std::string bytes = client.GetData();
    EXPECT_LE(bytes.size(), PosixTcpClient::kInboundLimit);
    taken += bytes.size();
    return client.State() == kTcpPeerClosing;
  }));
  EXPECT_EQ(taken, sent.size());
  sender.join();
}

TEST_F(TcpClientTest, CloseForgetsEverythingAndThePeerSeesIt) {
  peer.send("never taken");
  ASSERT_TRUE(until([&] { return client.BytesReceived() > 0; }));
  client.Close();
  EXPECT_EQ(client.State(), kTcpClosed);
  EXPECT_EQ(client.BytesReceived(), 0);
  EXPECT_EQ(client.GetData(), "");
  EXPECT_EQ(peer.receive(1), "");
  peer = connect();
  EXPECT_EQ(client.BytesReceived(), 0);
}

TEST_F(TcpClientTest, CloseDropsWhatIsQueued) {
  client.SendData(std::string(PosixTcpClient::kOutboundLimit, 'q'));
  std::thread reader([&] { peer.receive(5 << 20); });
  for (int i = 0; i < 10; ++i) {
    loop.wait(milliseconds(5));
    loop.process();
  }
  client.Close();
  reader.join();
  peer = connect();
  client.SendData("first");
  EXPECT_EQ(peer.receive(5), "first");
}

TEST_F(TcpClientTest, CloseInsideAHandlerOfTheSameRound) {
  Listener other_listener;
  PosixTcpClient other(loop);
  other.RemoteHost("127.0.0.1");
  other.RemotePort(other_listener.port());
  other.Connect();
  ASSERT_TRUE(until([&] { return other.State() == kTcpConnected; }));
  Peer other_peer = other_listener.accept();
  peer.send("a");
  other_peer.send("b");
  loop.wait(milliseconds(1000));
  loop.post([&] {
    client.Close();
    other.Close();
  });
  loop.process();
  EXPECT_EQ(client.State(), kTcpClosed);
  EXPECT_EQ(other.State(), kTcpClosed);
}

TEST_F(TcpClientTest, NoSignalReachesTheHost) {
  static volatile std::sig_atomic_t signals = 0;
  struct sigaction action {};
  struct sigaction before {};
  action.sa_handler = [](int) { signals = signals + 1; };
  ASSERT_EQ(::sigaction(SIGPIPE, &action, &before), 0);
  peer.send("x");  // keeps the state at connected
  peer.close();
  ASSERT_TRUE(until([&] { return client.BytesReceived() == 1; }));
  for (int i = 0; i < 3; ++i) client.SendData("telegram");
  ::sigaction(SIGPIPE, &before, nullptr);
  EXPECT_EQ(signals, 0);

  // Nor does the failed sending reach the next connection.
  client.Close();
  peer = connect();
  peer.close();
  EXPECT_TRUE(until([&] { return client.State() == kTcpPeerClosing; }));
}

// The client learns of the reset by sending, before it has seen what came ahead of it.
TEST_F(TcpClientTest, AFailedSendLosesNothingThatArrived) {
  const test::StandingClock clock;
  EXPECT_EQ(client.BytesReceived(), 0);
  peer.send("last words");
  peer.reset();
  client.SendData("telegram");
  EXPECT_EQ(client.State(), kTcpConnected);
  EXPECT_EQ(client.GetData(), "last words");
  EXPECT_EQ(client.State(), kTcpError);
}

TEST_F(TcpClientTest, AFailedSendOfAFullClientLosesNothingEither) {
  const std::string sent(PosixTcpClient::kInboundLimit + 10, 'i');
  std::thread sender([&] { peer.send(sent); });
  EXPECT_TRUE(until([&] { return client.BytesReceived() == kLimit; }));
  sender.join();
  EXPECT_TRUE(asked_until([&] { return peer.has_delivered(); }));
  peer.reset();
  client.SendData("telegram");
  EXPECT_EQ(client.GetData().size(), PosixTcpClient::kInboundLimit);
  EXPECT_EQ(client.GetData().size(), 10u);
  EXPECT_EQ(client.State(), kTcpError);
}

}  // namespace
}  // namespace plexum::posix
