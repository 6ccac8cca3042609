#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "control/runtime_error.h"
#include "platform/posix/event_loop.h"
#include "platform/posix/interposed.h"
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

TEST_F(TcpClientConnectTest, TriesEachAddressOfAName) {
  Listener listener;  // at the last one
  EXPECT_EQ(outcome("many.invalid", listener.port()), kTcpConnected);
  listener.close();
  EXPECT_EQ(outcome("many.invalid", listener.port()), kTcpError);
}

TEST_F(TcpClientConnectTest, NeverConnectsToItself) {
  const test::OwnPorts own_ports;
  for (const auto& [family, host] : {std::pair(AF_INET, "127.0.0.1"), std::pair(AF_INET6, "::1")}) {
    Listener gone(family);
    gone.close();
    if (!gone.listening()) continue;
    EXPECT_EQ(outcome(host, gone.port()), kTcpError) << host;
  }
}

TEST_F(TcpClientConnectTest, ItsSocketNeitherDelaysNorBlocksNorIsInherited) {
  Listener listener;
  EXPECT_EQ(outcome("127.0.0.1", listener.port()), kTcpConnected);
  client->SendData("x");
  int no_delay = 0;
  socklen_t size = sizeof no_delay;
  ::getsockopt(test::last_sender, IPPROTO_TCP, TCP_NODELAY, &no_delay, &size);
  EXPECT_NE(no_delay, 0);
  EXPECT_NE(::fcntl(test::last_sender, F_GETFL) & O_NONBLOCK, 0);
  EXPECT_NE(::fcntl(test::last_sender, F_GETFD) & FD_CLOEXEC, 0);
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

class TcpClientLookUpTest : public TcpClientConnectTest {
 protected:
  // Connects to a name whose look-up hangs until `names` goes.
  void look_up() {
    connect("slow.invalid", 102);
    EXPECT_TRUE(test::run_until(loop, [] { return test::SlowNames::hanging() > 0; }));
    EXPECT_EQ(client->State(), kTcpResolving);
  }
  void run_for_a_while() {
    for (int i = 0; i < 10; ++i) {
      loop.wait(std::chrono::milliseconds(1));
      loop.process();
    }
  }

  std::optional<test::SlowNames> names{std::in_place};
};

TEST_F(TcpClientLookUpTest, EndsInItsState) {
  look_up();
  run_for_a_while();
  EXPECT_EQ(client->State(), kTcpResolving);
  names.reset();
  EXPECT_TRUE(comes_to(kTcpError));
}

TEST_F(TcpClientLookUpTest, ThatIsNoLongerWantedChangesNothing) {
  look_up();
  client->Close();
  EXPECT_EQ(client->State(), kTcpClosed);
  Listener listener;
  EXPECT_EQ(outcome("localhost", listener.port()), kTcpConnected);
  names.reset();
  run_for_a_while();
  EXPECT_EQ(client->State(), kTcpConnected);
}

TEST_F(TcpClientLookUpTest, MayOutlastTheClient) {
  look_up();
  client.reset();
  names.reset();
  run_for_a_while();
}

TEST_F(TcpClientLookUpTest, MayOutlastTheLoop) {
  auto short_lived = std::make_unique<EventLoop>();
  {
    PosixTcpClient other(*short_lived);
    other.RemoteHost("slow.invalid");
    other.Connect();
    EXPECT_TRUE(test::run_until(loop, [] { return test::SlowNames::hanging() > 0; }));
  }
  short_lived.reset();
  names.reset();
  run_for_a_while();
}

TEST_F(TcpClientLookUpTest, IsBoundedInNumber) {
  std::vector<std::unique_ptr<PosixTcpClient>> clients;
  for (int i = 0; i < 100; ++i) {
    clients.push_back(std::make_unique<PosixTcpClient>(loop));
    clients.back()->RemoteHost("slow.invalid");
    clients.back()->Connect();
  }
  run_for_a_while();
  EXPECT_LE(test::SlowNames::hanging(), 50);
  EXPECT_EQ(clients.front()->State(), kTcpResolving);
  EXPECT_EQ(clients.back()->State(), kTcpError);
  names.reset();
  EXPECT_TRUE(test::run_until(loop, [&] {
    return std::all_of(clients.begin(), clients.end(),
                       [](const auto& c) { return c->State() == kTcpError; });
  }));
  names.emplace();
  look_up();  // there is room again
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
