#include "cli/watching/capture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>
#include <vector>

#include "support/capture_path.h"
#include "support/hex.h"
#include "support/scripted_tcp_client.h"

namespace plexum::cli {
namespace {

using test::bytes;
using ::testing::ElementsAre;

const std::string kConnectRequest =
    bytes("03 00 00 16 | 11 E0 00 00 00 01 00 | C0 01 0A C1 02 01 00 C2 02 01 02");
const std::string kConnectConfirm =
    bytes("03 00 00 16 | 11 D0 00 01 00 07 00 | C0 01 0A C1 02 01 00 C2 02 01 02");
const std::string kSetup =
    bytes("03 00 00 19 | 02 F0 80 | 32 01 00 00 04 00 00 08 00 00 | F0 00 00 01 00 01 01 E0");
const std::string kSetupAnswer =
    bytes("03 00 00 1B | 02 F0 80 | 32 03 00 00 04 00 00 08 00 00 00 00 | F0 00 00 01 00 01 00 F0");

// An answer to a read of so many bytes, longer than any segment if need be.
std::string read_answer(std::size_t count) {
  std::string answer =
      bytes("03 00 00 00 | 02 F0 80 | 32 03 00 00 05 00 00 02 00 00 00 00 | 04 01 | FF 04 00 00");
  const auto put_word = [&answer](std::size_t at, std::size_t value) {
    answer[at] = static_cast<char>(value >> 8);
    answer[at + 1] = static_cast<char>(value);
  };
  put_word(2, answer.size() + count);
  put_word(15, count + 4);
  put_word(23, count * 8);
  for (std::size_t i = 0; i < count; ++i) answer += static_cast<char>(i * 7 + i / 251);
  return answer;
}

// A client whose connections to a scripted PLC are captured.
struct CapturedClient {
  explicit CapturedClient(CaptureFile& file) : client(plc, file) {}

  // Connects, sets up S7 communication, and takes one answer of `size` bytes of data.
  void hold_a_dialogue(const std::string& host, std::size_t size) {
    plc.answers = {kConnectConfirm, kSetupAnswer};
    client.RemoteHost(host);
    client.RemotePort(102);
    client.Connect();
    EXPECT_EQ(client.State(), kTcpConnected);
    client.SendData(kConnectRequest);
    EXPECT_EQ(client.GetData(), kConnectConfirm);
    client.SendData(kSetup);
    EXPECT_EQ(client.GetData(), kSetupAnswer);
    plc.available = read_answer(size);
    EXPECT_EQ(client.GetData(), read_answer(size));
  }

  test::ScriptedTcpClient plc;
  CapturingTcpClient client;
};

// A capture, which is read while it is still open.
class CaptureTest : public ::testing::Test {
 protected:
  std::string content() {
    std::ifstream file(path_, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  // What tshark finds in the segments that pass its display filter: a line of fields each.
  std::vector<std::string> decoded(const std::string& filter, const std::string& fields) {
    const std::string command = "tshark -n -r '" + path_ + "' -Y '" + filter +
                                "' -T fields -E separator=/s " + fields + " 2>/dev/null";
    std::FILE* const output = ::popen(command.c_str(), "r");
    std::vector<std::string> lines;
    char line[256];
    while (std::fgets(line, sizeof line, output) != nullptr) {
      lines.emplace_back(line);
      lines.back().pop_back();
    }
    EXPECT_EQ(::pclose(output), 0) << command;
    return lines;
  }

  static std::string path() {
    const std::string name = std::string("CaptureTest.") +
                             ::testing::UnitTest::GetInstance()->current_test_info()->name();
    const std::string collected = test::capture_path(name);
    return collected.empty() ? ::testing::TempDir() + name + ".pcap" : collected;
  }

  const std::string path_ = path();
  CaptureFile file_{path_};
};

TEST_F(CaptureTest, StartsWithTheHeaderOfAPcapFile) {
  EXPECT_EQ(test::hex(content()),
            "D4 C3 B2 A1 02 00 04 00 00 00 00 00 00 00 00 00 00 00 04 00 01 00 00 00");
  EXPECT_THROW(CaptureFile("/nonexistent/x.pcap"), std::system_error);
}

TEST_F(CaptureTest, EveryByteIsNumberedAndAcknowledged) {
  const std::string answer = read_answer(4000);
  CapturedClient(file_).hold_a_dialogue("10.0.0.5", 4000);
  EXPECT_THAT(
      decoded("tcp", "-e tcp.srcport -e tcp.flags -e tcp.seq -e tcp.ack -e tcp.len"),
      ElementsAre("49152 0x0002 0 0 0", "102 0x0012 0 1 0", "49152 0x0010 1 1 0",  // handshake
                  "49152 0x0018 1 1 22", "102 0x0010 1 23 0",                      // connect
                  "102 0x0018 1 23 22", "49152 0x0010 23 23 0",                    // confirm
                  "49152 0x0018 23 23 25", "102 0x0010 23 48 0",                   // setup
                  "102 0x0018 23 48 27", "49152 0x0010 48 50 0",                   // its answer
                  "102 0x0018 50 48 1460", "102 0x0018 1510 48 1460", "102 0x0018 2970 48 1105",
                  "49152 0x0010 48 4075 0",  // the long answer
                  "49152 0x0011 48 4075 0", "102 0x0011 4075 49 0", "49152 0x0010 49 4076 0"));
  std::size_t at = 0;
  for (const std::string& part :
       {kConnectRequest, kConnectConfirm, kSetup, kSetupAnswer, answer.substr(0, 1460),
        answer.substr(1460, 1460), answer.substr(2920)}) {
    at = content().find(part, at);
    ASSERT_NE(at, std::string::npos) << test::hex(part);
  }
}

// All clients are connected at the same time, and still are when they go.
TEST_F(CaptureTest, TheEndsAddressesFollowTheHost) {
  std::deque<CapturedClient> clients;
  for (const char* host : {"192.168.0.1", "127.0.0.9", "plc.example", "::1", "fe80::1%eth0"}) {
    clients.emplace_back(file_).hold_a_dialogue(host, 2000);
  }
  clients.clear();
  EXPECT_THAT(
      decoded("tcp.flags == 2", "-e tcp.srcport -e ip.src -e ipv6.src -e ip.dst -e ipv6.dst"),
      ElementsAre("49152 192.0.2.1  192.168.0.1 ", "49153 127.0.0.9  127.0.0.9 ",
                  "49154 192.0.2.1  192.0.2.2 ", "49155  ::1  ::1", "49156  2001:db8::1  fe80::1"));
  EXPECT_EQ(std::system(("python3 " PLEXUM_CHECK_CAPTURES " '" + path_ + "'").c_str()), 0);
}

TEST_F(CaptureTest, AConnectionEndsByWhoeverEndedIt) {
  CapturedClient captured(file_);
  for (const std::int16_t state : {kTcpConnected, kTcpPeerClosing, kTcpError}) {
    captured.hold_a_dialogue("127.0.0.1", 1);
    captured.plc.state = state;
    captured.client.Close();
  }
  EXPECT_THAT(decoded("tcp.flags.fin == 1 or tcp.flags.reset == 1", "-e tcp.srcport -e tcp.flags"),
              ElementsAre("49152 0x0011", "102 0x0011",  // the control
                          "102 0x0011", "49153 0x0011",  // the PLC
                          "102 0x0014"));                // a reset
}

TEST_F(CaptureTest, WhatTheControlNeverTookIsThere) {
  CapturedClient captured(file_);
  captured.hold_a_dialogue("127.0.0.1", 1);
  captured.plc.available = read_answer(7);
  captured.client.Close();
  EXPECT_TRUE(file_.complete());
  EXPECT_NE(content().find(read_answer(7)), std::string::npos);
}

TEST_F(CaptureTest, AConnectionThatNeverCameUpLeavesNothing) {
  CapturedClient captured(file_);
  captured.plc.on_connect = [&] { captured.plc.state = kTcpError; };
  captured.client.Connect();
  EXPECT_EQ(captured.client.State(), kTcpError);
  EXPECT_THROW(captured.client.SendData(kSetup), RuntimeError);
  captured.client.Close();
  EXPECT_EQ(content().size(), 24u) << "the file's header";
}

}  // namespace
}  // namespace plexum::cli
