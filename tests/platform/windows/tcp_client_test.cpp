#include "platform/windows/tcp_client.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include "platform/windows/message_window.h"
#include "platform/windows/messages.h"
#include "platform/windows/resolver.h"
#include "support/tcp_client_contract.h"
#include "support/tcp_peer.h"

namespace plexum::test {

struct WindowsWorld {
  // Under Wine a receive on a connection that was reset finds the stream's end now and then.
  static constexpr bool kTellsResets = false;

  TcpClient& client() { return *own; }
  void wait() {
    windows::wait_for_input(10);
    windows::process_messages();
  }
  void drop_client() { own.reset(); }

  std::unique_ptr<windows::BuiltInTcpClient> own = std::make_unique<windows::BuiltInTcpClient>();
};

INSTANTIATE_TYPED_TEST_SUITE_P(BuiltIn, TcpClientContract, WindowsWorld);

}  // namespace plexum::test

namespace plexum::windows {
namespace {

constexpr std::uint32_t kLongTime = 20'000;  // milliseconds; a wait that lasts so long has failed

// A client that has found its peer by waits that only news can end.
class BuiltInTcpClientTest : public testing::Test {
 protected:
  void SetUp() override {
    client.RemoteHost("localhost");
    client.RemotePort(peer.port());
    client.Connect();
    while (client.State() != kTcpConnected) {
      ASSERT_NO_FATAL_FAILURE(expect_wake());
      process_messages();
    }
    peer.accept();
    settle();
  }

  // Until nothing is announced any more.
  static void settle() {
    for (int slice = 0; slice < 5; ++slice) {
      wait_for_input(10);
      process_messages();
    }
  }

  static void expect_wake() {
    const std::uint32_t start = tick_count();
    wait_for_input(kLongTime);
    ASSERT_LT(tick_count() - start, kLongTime / 2);
  }

  // Runs `news` on another thread, in the middle of a wait that it must end.
  template <typename News>
  static void expect_wake_by(News news) {
    const std::jthread other([&news] {
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
      news();
    });
    expect_wake();
  }

  test::TcpPeer peer;
  BuiltInTcpClient client;
};

// Whether the bytes of the last arrival were taken or only counted.
TEST_F(BuiltInTcpClientTest, EveryArrivalEndsAWait) {
  for (const bool taken : {false, true, false}) {
    const std::int32_t before = client.BytesReceived();
    expect_wake_by([this] { peer.send("data"); });
    EXPECT_EQ(client.BytesReceived(), before + 4);
    if (taken) client.GetData();
    settle();
  }
  client.GetData();
  expect_wake_by([this] { peer.finish(); });
  EXPECT_EQ(client.State(), kTcpPeerClosing);
}

TEST_F(BuiltInTcpClientTest, LeavesAHostThatProcessesNothingNoHeapOfMessages) {
  for (int job = 0; job < 100; ++job) {
    peer.send("answer");
    while (client.BytesReceived() == 0) wait_for_input(10);
    EXPECT_EQ(client.GetData(), "answer");
  }
  MSG message{};
  int messages = 0;
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) ++messages;
  EXPECT_LE(messages, 2);
}

TEST(NameLookUpTest, LeavesNothingBehindAClientThatIsGone) {
  for (int round = 0; round < 10; ++round) {
    BuiltInTcpClient client;
    client.RemoteHost("localhost");
    client.Connect();
  }
  EXPECT_EQ(MessageWindow::count(), 0);
  for (int slice = 0; slice < 1000 && NameLookUp::running() > 0; ++slice) Sleep(10);
  EXPECT_EQ(NameLookUp::running(), 0);
}

}  // namespace
}  // namespace plexum::windows
