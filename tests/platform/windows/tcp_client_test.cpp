#include "platform/windows/tcp_client.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "platform/windows/message_window.h"
#include "platform/windows/messages.h"
#include "platform/windows/name_resolution.h"
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

using test::TcpPeer;

constexpr std::uint32_t kLongTime = 20'000;  // milliseconds; a wait that lasts so long has failed

class WakingTest : public testing::Test {
 protected:
  void SetUp() override {
    client.RemoteHost("127.0.0.1");
    client.RemotePort(peer.port());
    client.Connect();
    peer.accept();
    while (client.State() != kTcpConnected) wait_for_input(10);
    settle();
  }

  // Until nothing is announced any more.
  static void settle() {
    for (int slice = 0; slice < 5; ++slice) {
      wait_for_input(10);
      process_messages();
    }
  }

  void expect_wake() {
    const std::uint32_t start = tick_count();
    wait_for_input(kLongTime);
    EXPECT_LT(tick_count() - start, kLongTime / 2);
  }

  TcpPeer peer;
  BuiltInTcpClient client;
};

// Sends and closes from another thread, in the middle of a wait.
class Later {
 public:
  explicit Later(std::function<void()> call) : call_(std::move(call)) {
    thread_ = CreateThread(nullptr, 0, run, this, 0, nullptr);
  }
  Later(const Later&) = delete;
  Later& operator=(const Later&) = delete;
  ~Later() {
    WaitForSingleObject(thread_, INFINITE);
    CloseHandle(thread_);
  }

 private:
  static DWORD WINAPI run(void* self) {
    Sleep(50);
    static_cast<Later*>(self)->call_();
    return 0;
  }

  std::function<void()> call_;
  HANDLE thread_ = nullptr;
};

TEST_F(WakingTest, EveryArrivalEndsAWait) {
  std::int32_t expected = 0;
  for (int round = 0; round < 5; ++round) {
    const Later later([this] { peer.send("data"); });
    expect_wake();
    expected += 4;
    EXPECT_EQ(client.BytesReceived(), expected);
    settle();
  }
  client.GetData();
  const Later later([this] { peer.finish(); });
  expect_wake();
  EXPECT_EQ(client.State(), kTcpPeerClosing);
}

// Whoever has seen the message of an arrival, and whether the bytes were taken or only counted,
// the next arrival is announced again.
TEST_F(WakingTest, AnArrivalIsAnnouncedAfterTheLastOneWasOnlyLookedAt) {
  peer.send("1");
  while (client.BytesReceived() < 1) {
  }
  settle();  // its message is gone
  const Later later([this] { peer.send("2"); });
  expect_wake();
  while (client.BytesReceived() < 2) wait_for_input(10);
  EXPECT_EQ(client.GetData(), "12");
}

TEST(BuiltInTcpClientTest, ConnectingAndResolvingEndAWait) {
  TcpPeer peer;
  BuiltInTcpClient client;
  client.RemoteHost("localhost");
  client.RemotePort(peer.port());
  client.Connect();
  const std::uint32_t start = tick_count();
  while (client.State() != kTcpConnected && tick_count() - start < kLongTime) {
    wait_for_input(kLongTime);
    process_messages();
  }
  EXPECT_LT(tick_count() - start, kLongTime / 2);
}

TEST(BuiltInTcpClientTest, LeavesNothingBehind) {
  for (int round = 0; round < 10; ++round) {
    BuiltInTcpClient client;
    client.RemoteHost("localhost");
    client.RemotePort(1);
    client.Connect();
  }
  EXPECT_EQ(MessageWindow::count(), 0);
  for (int slice = 0; slice < 1000 && NameResolution::threads_running() > 0; ++slice) Sleep(10);
  EXPECT_EQ(NameResolution::threads_running(), 0);
  SOCKET socket = ::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
  EXPECT_NE(socket, INVALID_SOCKET);  // the test's own use of Winsock is untouched
  closesocket(socket);
}

TEST(BuiltInTcpClientTest, RefusesToQueueWithoutBound) {
  TcpPeer peer;
  BuiltInTcpClient client;
  client.RemoteHost("127.0.0.1");
  client.RemotePort(peer.port());
  client.Connect();
  while (client.State() != kTcpConnected) wait_for_input(10);
  const std::string piece(std::size_t{4} << 20, 'x');
  std::int32_t number = 0;
  for (int i = 0; i < 64 && number == 0; ++i) {
    try {
      client.SendData(piece);
    } catch (const RuntimeError& error) {
      number = error.number();
    }
  }
  EXPECT_EQ(number, BuiltInTcpClient::kNoBufferSpace);
  EXPECT_EQ(client.State(), kTcpConnected);
}

}  // namespace
}  // namespace plexum::windows
