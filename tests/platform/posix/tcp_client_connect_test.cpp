#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "control/runtime_error.h"
#include "platform/posix/event_loop.h"
#include "platform/posix/peer.h"
#include "platform/posix/run_loop.h"
#include "platform/posix/tcp_client.h"

namespace plexum::posix {
namespace {

using test::Listener;
using test::Peer;

class TcpClientConnectTest : public testing::Test {
 protected:
  void connect(const std::string& host, int port) {
    client->RemoteHost(host);
    client->RemotePort(port);
    client->Connect();
  }

  bool comes_to(std::int16_t state) {
    return test::run_until(loop, [&] { return client->State() == state; });
  }

  // The state that a connection comes to.
  std::int16_t outcome(const std::string& host, int port) {
    client->Close();
    connect(host, port);
    const bool ended = test::run_until(loop, [&] {
      const auto state = client->State();
      return state != kTcpResolving && state != kTcpConnecting;
    });
    EXPECT_TRUE(ended) << host;
    return client->State();
  }

  EventLoop loop;
  std::optional<PosixTcpClient> client{loop};
};

TEST_F(TcpClientConnectTest, ConnectsByLiteralAndByName) {
  Listener listener;
  for (const char* host : {"127.0.0.1", "localhost", "::ffff:127.0.0.1"}) {
    EXPECT_EQ(outcome(host, listener.port()), kTcpConnected) << host;
    Peer peer = listener.accept();
    client->SendData("hello");
    EXPECT_EQ(peer.receive(5), "hello") << host;
  }
}

TEST_F(TcpClientConnectTest, ConnectsByIpv6) {
  Listener listener(AF_INET6);
  if (!listener.listening()) GTEST_SKIP() << "this machine has no IPv6";
  EXPECT_EQ(outcome("::1", listener.port()), kTcpConnected);
}

TEST_F(TcpClientConnectTest, ALiteralNeedsNoLoop) {
  Listener listener;
  connect("127.0.0.1", listener.port());
  for (int i = 0; i < 1000 && client->State() != kTcpConnected; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  EXPECT_EQ(client->State(), kTcpConnected);
}

TEST_F(TcpClientConnectTest, WhatCannotBeReachedIsAnErrorAndNoException) {
  Listener gone;
  gone.close();
  Listener there;
  const struct {
    std::string host;
    int port;
  } cases[] = {
      {"127.0.0.1", gone.port()},
      {"localhost", gone.port()},
      {"127.0.0.1", 0},
      {"name.invalid", 102},
      // Not the machine itself, although somebody listens there.
      {"", there.port()},
      {"0.0.0.0", there.port()},
      {"0", there.port()},
      {"::", there.port()},
      {"::ffff:0.0.0.0", there.port()},
      {std::string("127.0.0.1\0x", 11), there.port()},
      {"127.0.0.1 x", there.port()},
      {"not a name", there.port()},
      {std::string(65536, 'a'), there.port()},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(outcome(c.host, c.port), kTcpError) << c.host.substr(0, 40) << ':' << c.port;
  }
}

TEST_F(TcpClientConnectTest, ARefusedClientConnectsAfterClose) {
  Listener gone;
  gone.close();
  EXPECT_EQ(outcome("127.0.0.1", gone.port()), kTcpError);
  EXPECT_THROW(client->Connect(), RuntimeError);
  Listener there;
  EXPECT_EQ(outcome("127.0.0.1", there.port()), kTcpConnected);
}

// The machine's own backlog is full, so that the request stays unanswered.
TEST_F(TcpClientConnectTest, AnUnansweredRequestStaysConnectingUntilClose) {
  Listener full(AF_INET, 0);
  std::vector<std::unique_ptr<PosixTcpClient>> fillers;
  for (int i = 0; i < 4; ++i) {
    fillers.push_back(std::make_unique<PosixTcpClient>(loop));
    fillers.back()->RemoteHost("127.0.0.1");
    fillers.back()->RemotePort(full.port());
    fillers.back()->Connect();
  }
  connect("127.0.0.1", full.port());
  for (int i = 0; i < 5; ++i) {
    loop.wait(std::chrono::milliseconds(1));
    loop.process();
  }
  EXPECT_EQ(client->State(), kTcpConnecting);
  EXPECT_EQ(client->BytesReceived(), 0);
  EXPECT_EQ(client->GetData(), "");
  EXPECT_THROW(client->SendData("x"), RuntimeError);
  client->Close();
  EXPECT_EQ(client->State(), kTcpClosed);
}

TEST_F(TcpClientConnectTest, ALookUpThatIsNoLongerWantedChangesNothing) {
  connect("localhost", 1);
  EXPECT_EQ(client->State(), kTcpResolving);
  client->Close();
  EXPECT_EQ(client->State(), kTcpClosed);
  Listener listener;
  connect("localhost", listener.port());  // its own answer, not the first one's
  EXPECT_TRUE(comes_to(kTcpConnected));
  loop.process();
  EXPECT_EQ(client->State(), kTcpConnected);
}

TEST_F(TcpClientConnectTest, TheClientMayGoWhileItsNameIsLookedUp) {
  connect("localhost", 1);
  client.reset();
  for (int i = 0; i < 10; ++i) {
    loop.wait(std::chrono::milliseconds(1));
    loop.process();
  }
}

TEST_F(TcpClientConnectTest, TheLoopMayGoWhileANameIsLookedUp) {
  for (int i = 0; i < 20; ++i) {
    auto short_lived = std::make_unique<EventLoop>();
    PosixTcpClient other(*short_lived);
    other.RemoteHost(i % 2 == 0 ? "localhost" : "name.invalid");
    other.Connect();
    other.Close();
    // `other` never touches its loop again, so it may go after it.
    short_lived.reset();
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(20));  // for the last threads to post
}

TEST_F(TcpClientConnectTest, ManyLookUpsAreBoundedAndAllEnd) {
  std::vector<std::unique_ptr<PosixTcpClient>> clients;
  for (int i = 0; i < 60; ++i) {
    clients.push_back(std::make_unique<PosixTcpClient>(loop));
    clients.back()->RemoteHost("name.invalid");
    clients.back()->Connect();
  }
  EXPECT_TRUE(test::run_until(loop, [&] {
    return std::all_of(clients.begin(), clients.end(),
                       [](const auto& c) { return c->State() == kTcpError; });
  }));
}

std::int32_t error_of(const std::function<void()>& call) {
  try {
    call();
  } catch (const RuntimeError& error) {
    return error.number();
  }
  return 0;
}

TEST_F(TcpClientConnectTest, MisuseHasItsNumbers) {
  EXPECT_EQ(error_of([&] { client->SendData("x"); }), kTcpWrongState);
  EXPECT_EQ(error_of([&] { client->RemotePort(-1); }), kTcpInvalidArgument);
  EXPECT_EQ(error_of([&] { client->RemotePort(65536); }), kTcpInvalidArgument);
  Listener listener;
  connect("127.0.0.1", listener.port());
  EXPECT_EQ(error_of([&] { client->Connect(); }), kTcpInvalidOperation);
  EXPECT_TRUE(comes_to(kTcpConnected));
  EXPECT_EQ(error_of([&] { client->Connect(); }), kTcpInvalidOperation);
  client->Close();
  client->Close();
  EXPECT_EQ(client->State(), kTcpClosed);
  EXPECT_EQ(error_of([&] { client->SendData("x"); }), kTcpWrongState);
}

}  // namespace
}  // namespace plexum::posix
