#include "platform/windows/tcp_client.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/windows/messages.h"
#include "support/tcp_peer.h"

namespace plexum::windows {
namespace {

using test::TcpPeer;

TEST(BuiltInTcpClientTest, Connects) {
  TcpPeer peer;
  BuiltInTcpClient client;
  client.RemoteHost("127.0.0.1");
  client.RemotePort(peer.port());
  client.Connect();
  peer.accept();
  while (client.State() != kTcpConnected) wait_for_input(10);
  client.SendData("hello");
  EXPECT_EQ(peer.receive(5), "hello");
  peer.send("world");
  while (client.BytesReceived() < 5) wait_for_input(10);
  EXPECT_EQ(client.GetData(), "world");
  peer.close();
  while (client.State() != kTcpPeerClosing) wait_for_input(10);
}

}  // namespace
}  // namespace plexum::windows
