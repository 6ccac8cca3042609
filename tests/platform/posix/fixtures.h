#pragma once

#include <gtest/gtest.h>
#include <poll.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

#include "platform/posix/event_loop.h"
#include "platform/posix/interposed.h"
#include "platform/posix/tcp_client.h"
#include "support/tcp_peer.h"

namespace plexum::posix::test {

constexpr std::chrono::milliseconds kLong = std::chrono::seconds(10);

class LoopFixture : public testing::Test {
 public:
  ~LoopFixture() override { interposed = {}; }

 protected:
  // Runs the loop until `done`, at most 10 seconds; whether it came to be.
  bool until(const std::function<bool()>& done) {
    const auto limit = EventLoop::Clock::now() + kLong;
    while (!done()) {
      if (EventLoop::Clock::now() > limit) return false;
      run_one_round();
    }
    return true;
  }

  void run_for_a_while() {
    for (int round = 0; round < 5; ++round) run_one_round();
  }

  // Whether a wait of 10 seconds ends early.
  bool wakes() {
    const auto start = EventLoop::Clock::now();
    loop.wait(kLong);
    return EventLoop::Clock::now() - start < kLong / 2;
  }

  EventLoop loop;

 private:
  void run_one_round() {
    loop.wait(std::chrono::milliseconds(5));
    loop.process();
  }
};

// A client and a peer that it may connect to.
class ClientFixture : public LoopFixture {
 protected:
  void start_to_connect(PosixTcpClient& some_client, const std::string& host) {
    some_client.RemoteHost(host);
    some_client.RemotePort(peer.port());
    some_client.Connect();
  }

  void connect() {
    start_to_connect(client, "127.0.0.1");
    ASSERT_TRUE(comes_to(kTcpConnected));
    peer.accept();
  }

  bool comes_to(std::int16_t state) {
    return until([&] { return client.State() == state; });
  }

  // Waits until the client's descriptor has one of `events`, an error or a hang-up, without the
  // client's knowledge.
  static void await_arrival(short events) {
    pollfd descriptor{interposed.client, events, 0};
    ASSERT_EQ(::poll(&descriptor, 1, static_cast<int>(kLong.count())), 1);
  }

  plexum::test::TcpPeer peer;
  PosixTcpClient client{loop};
};

}  // namespace plexum::posix::test
