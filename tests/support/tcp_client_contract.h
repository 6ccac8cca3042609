#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "base/runtime_error.h"
#include "base/tcp_client.h"
#include "platform/portable/limits.h"
#include "support/error_of.h"
#include "support/tcp_peer.h"

namespace plexum::test {

// Bytes of which no stretch looks like another.
inline std::string pattern(std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * 7 + i / 251);
  return bytes;
}

// What every TCP client of the control does, whatever platform it stands on. `World` provides
//   TcpClient& client();    a new client
//   void wait();            one short wait of its host, messages processed
//   void drop_client();     destroys it
//   kTellsResets            whether its system always tells a reset from an orderly end
template <typename World>
class TcpClientContract : public testing::Test {
 protected:
  // Lets the host wait until something holds.
  testing::AssertionResult until(const std::function<bool()>& holds) {
    for (int slice = 0; slice < 2000; ++slice) {
      if (holds()) return testing::AssertionSuccess();
      world.wait();
    }
    return testing::AssertionFailure() << "never, state " << client.State();
  }

  testing::AssertionResult until_state(std::int16_t state) {
    return until([this, state] { return client.State() == state; });
  }

  // The same for a host that doesn't process messages meanwhile.
  testing::AssertionResult until_state_without_host(std::int16_t state) {
    for (long look = 0; look < 20'000'000; ++look) {
      if (client.State() == state) return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "never, state " << client.State();
  }

  void start_to_connect(const std::string& host, std::int32_t port) {
    client.RemoteHost(host);
    client.RemotePort(port);
    client.Connect();
  }

  void connect(TcpPeer& peer, const std::string& host = "127.0.0.1") {
    start_to_connect(host, peer.port());
    ASSERT_TRUE(until_state(kTcpConnected));
    peer.accept();
  }

  World world;
  TcpClient& client = world.client();
};

TYPED_TEST_SUITE_P(TcpClientContract);

TYPED_TEST_P(TcpClientContract, StartsClosedAndEmpty) {
  EXPECT_EQ(this->client.State(), kTcpClosed);
  EXPECT_EQ(this->client.BytesReceived(), 0);
  EXPECT_EQ(this->client.GetData(), "");
  this->client.Close();
  EXPECT_EQ(this->client.State(), kTcpClosed);
  EXPECT_EQ(error_of([this] { this->client.SendData("x"); }), kTcpWrongState);
}

TYPED_TEST_P(TcpClientContract, CarriesEveryByteBothWays) {
  TcpPeer peer;
  this->connect(peer);
  const std::string bytes = pattern(256);
  this->client.SendData(bytes);
  EXPECT_EQ(peer.receive(256), bytes);
  for (const std::int32_t arrived : {128, 256}) {
    peer.send(bytes.substr(static_cast<std::size_t>(arrived) - 128, 128));
    EXPECT_TRUE(this->until([&] { return this->client.BytesReceived() == arrived; }));
  }
  EXPECT_EQ(this->client.GetData(), bytes);
  EXPECT_EQ(this->client.BytesReceived(), 0);
}

TYPED_TEST_P(TcpClientContract, TellsTheTruthToAHostThatProcessesNothing) {
  TcpPeer peer;
  this->start_to_connect("127.0.0.1", peer.port());
  EXPECT_TRUE(this->until_state_without_host(kTcpConnected));
  peer.accept();
  this->client.SendData("ask");
  EXPECT_EQ(peer.receive(3), "ask");
  peer.send("answer");
  peer.close();
  while (this->client.BytesReceived() < 6) {
  }
  EXPECT_EQ(this->client.State(), kTcpConnected);
  EXPECT_EQ(this->client.GetData(), "answer");
  EXPECT_TRUE(this->until_state_without_host(kTcpPeerClosing));
}

// What the peer sent before is there to be taken first, also when sending has failed meanwhile.
TYPED_TEST_P(TcpClientContract, EndsInEveryWayAndConnectsAgain) {
  const struct {
    const char* name;
    void (TcpEnd::*end)();
    std::int16_t state;  // behind the last byte
  } kEndings[] = {{"close", &TcpEnd::close, kTcpPeerClosing},
                  {"half close", &TcpEnd::finish, kTcpPeerClosing},
                  {"reset", &TcpEnd::reset, kTcpError}};
  TcpPeer peer;
  for (const auto& [name, end, state] : kEndings) {
    for (const std::string before : {"", "last words"}) {
      this->connect(peer);
      peer.send(before);
      (peer.*end)();
      if (!before.empty()) {
        EXPECT_TRUE(this->until([&] { return this->client.BytesReceived() == 10; })) << name;
        for (int i = 0; i < 3; ++i) {
          this->client.SendData("nobody reads this");  // nor may a signal end this program
          for (int slice = 0; slice < 5; ++slice) this->world.wait();
          EXPECT_EQ(this->client.State(), kTcpConnected) << name;
        }
      }
      EXPECT_EQ(this->client.GetData(), before) << name;
      EXPECT_TRUE(this->until([&] { return this->client.State() != kTcpConnected; })) << name;
      if (before.empty() && (TypeParam::kTellsResets || state != kTcpError)) {
        EXPECT_EQ(this->client.State(), state) << name;
      }
      EXPECT_EQ(error_of([&] { this->client.SendData("x"); }), kTcpWrongState) << name;
      EXPECT_EQ(error_of([&] { this->client.Connect(); }), kTcpInvalidOperation) << name;
      this->client.Close();
    }
    this->connect(peer);
    this->client.SendData(std::string(portable::kOutboundLimit, 'q'));
    (peer.*end)();
    EXPECT_TRUE(this->until([&] { return this->client.State() != kTcpConnected; })) << name;
    this->client.Close();
  }
}

TYPED_TEST_P(TcpClientContract, ClosesAndConnectsAgain) {
  TcpPeer peer;
  for (int round = 0; round < 3; ++round) {
    this->connect(peer);
    EXPECT_EQ(error_of([this] { this->client.Connect(); }), kTcpInvalidOperation);
    peer.send("forgotten");
    EXPECT_TRUE(this->until([this] { return this->client.BytesReceived() == 9; }));
    this->client.Close();
    EXPECT_EQ(this->client.State(), kTcpClosed);
    EXPECT_EQ(this->client.BytesReceived(), 0);
    EXPECT_EQ(peer.receive(1), "");
  }
}

TYPED_TEST_P(TcpClientContract, WhatCannotBeReachedIsAnErrorUntilClose) {
  TcpPeer peer;
  TcpPeer refusing;
  refusing.stop_listening();
  const struct {
    std::string host;
    std::int32_t port;
    ConnectFailure failure;
  } kNowhere[] = {
      {"127.0.0.1", refusing.port(), ConnectFailure::kRefused},
      {"255.255.255.255", peer.port(), ConnectFailure::kUnreachable},  // everybody is nobody
      {"", peer.port(), ConnectFailure::kNoSuchHost},
      {"0.0.0.0", peer.port(), ConnectFailure::kNoSuchHost},
      {"::", peer.port(), ConnectFailure::kNoSuchHost},
      {std::string("127.0.0.1\0x", 11), peer.port(), ConnectFailure::kNoSuchHost},
      // No label of a name is so long.
      {std::string(70, 'x') + ".invalid", peer.port(), ConnectFailure::kNoSuchHost},
  };
  for (const auto& nowhere : kNowhere) {
    this->start_to_connect(nowhere.host, nowhere.port);
    EXPECT_TRUE(this->until_state(kTcpError)) << nowhere.host;
    EXPECT_EQ(this->client.connect_failure(), nowhere.failure) << nowhere.host;
    this->client.Close();
  }
  this->connect(peer, "localhost");
}

TYPED_TEST_P(TcpClientContract, MayBeDestroyedOrClosedAtAnyStep) {
  this->start_to_connect("localhost", 1);
  EXPECT_NE(this->client.State(), kTcpClosed);  // which step it is depends on the look-up's thread
  this->client.Close();
  EXPECT_EQ(this->client.State(), kTcpClosed);
  for (int slice = 0; slice < 20; ++slice) this->world.wait();
  EXPECT_EQ(this->client.State(), kTcpClosed);
  this->start_to_connect("localhost", 1);
  this->world.drop_client();
  for (int slice = 0; slice < 20; ++slice) this->world.wait();
}

TYPED_TEST_P(TcpClientContract, ConnectsByIpv6) {
  if (!TcpPeer::has_ipv6()) GTEST_SKIP() << "this machine has no IPv6";
  TcpPeer peer(TcpPeer::Family::kIpv6);
  this->connect(peer, "::1");
  this->client.SendData("six");
  EXPECT_EQ(peer.receive(3), "six");
}

TYPED_TEST_P(TcpClientContract, PortsHaveSixteenBits) {
  for (const std::int32_t port : {-1, 65536, 2147483647}) {
    EXPECT_EQ(error_of([this, port] { this->client.RemotePort(port); }), kTcpInvalidArgument);
  }
  for (const std::int32_t port : {0, 102, 65535}) {
    EXPECT_EQ(error_of([this, port] { this->client.RemotePort(port); }), 0);
  }
}

// Also one that has finished sending. What exceeds the queue's bound is refused whole.
TYPED_TEST_P(TcpClientContract, QueuesWhatASlowPeerDoesNotTake) {
  TcpPeer peer;
  this->connect(peer);
  const std::string bytes = pattern(std::size_t{12} << 20);
  this->client.SendData(bytes);
  this->client.SendData("the end");
  const std::string too_much(portable::kOutboundLimit, 'x');
  EXPECT_EQ(error_of([&] { this->client.SendData(too_much); }), portable::kNoBufferSpace);
  EXPECT_EQ(this->client.State(), kTcpConnected);
  peer.finish();
  EXPECT_TRUE(this->until_state(kTcpPeerClosing));
  std::string arrived;
  while (arrived.size() < bytes.size() + 7) {
    this->world.wait();
    arrived += peer.receive_some(std::size_t{1} << 20);
  }
  EXPECT_TRUE(arrived == bytes + "the end");
}

TYPED_TEST_P(TcpClientContract, HoldsAPeerBackThatSendsTooMuch) {
  constexpr std::int32_t kLimit = portable::kInboundLimit;
  TcpPeer peer;
  this->connect(peer);
  const std::string bytes = pattern(std::size_t{12} << 20);
  std::size_t sent = 0;
  for (int full = 0; full < 20 && sent < bytes.size();) {
    const std::size_t count = peer.send_some(bytes.substr(sent, 65536));
    sent += count;
    if (count == 0) ++full;
    ASSERT_LE(this->client.BytesReceived(), kLimit);
    this->world.wait();
  }
  EXPECT_LT(sent, bytes.size());
  EXPECT_EQ(this->client.BytesReceived(), kLimit);
  std::string arrived;
  while (arrived.size() < bytes.size()) {
    if (sent < bytes.size()) sent += peer.send_some(bytes.substr(sent, 65536));
    ASSERT_TRUE(this->until([this] { return this->client.BytesReceived() > 0; }));
    arrived += this->client.GetData();
  }
  EXPECT_TRUE(arrived == bytes);
}

REGISTER_TYPED_TEST_SUITE_P(TcpClientContract, StartsClosedAndEmpty, CarriesEveryByteBothWays,
                            TellsTheTruthToAHostThatProcessesNothing,
                            EndsInEveryWayAndConnectsAgain, ClosesAndConnectsAgain,
                            WhatCannotBeReachedIsAnErrorUntilClose, MayBeDestroyedOrClosedAtAnyStep,
                            ConnectsByIpv6, PortsHaveSixteenBits, QueuesWhatASlowPeerDoesNotTake,
                            HoldsAPeerBackThatSendsTooMuch);

}  // namespace plexum::test
