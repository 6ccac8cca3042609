#include "cli/capture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
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
      bytes("03 00 00 00 | 02 F0 80 | 32 03 00 00 05 00 00 02 00 00 00 00 | 04 01");
  answer[15] = static_cast<char>((count + 4) >> 8);
  answer[16] = static_cast<char>(count + 4);
  answer += bytes("FF 04") + static_cast<char>(count * 8 >> 8) + static_cast<char>(count * 8);
  answer += std::string(count, 'x');
  answer[2] = static_cast<char>(answer.size() >> 8);
  answer[3] = static_cast<char>(answer.size());
  return answer;
}

std::uint32_t big_endian(const std::string& data, std::size_t at, std::size_t length) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < length; ++i) {
    value = value << 8 | static_cast<unsigned char>(data.at(at + i));
  }
  return value;
}

std::uint32_t little_endian(const std::string& data, std::size_t at) {
  std::string turned = data.substr(at, 4);
  return big_endian({turned.rbegin(), turned.rend()}, 0, 4);
}

// The ones' complement sum of all words: 0xFFFF over anything that carries a right checksum.
std::uint32_t ones_complement_sum(std::string data) {
  if (data.size() % 2 != 0) data += '\0';
  std::uint32_t sum = 0;
  for (std::size_t i = 0; i < data.size(); i += 2) sum += big_endian(data, i, 2);
  while (sum > 0xFFFF) sum = (sum & 0xFFFF) + (sum >> 16);
  return sum;
}

struct Segment {
  std::string from;  // address, as in the packet
  std::string to;
  std::uint32_t from_port = 0;
  std::uint32_t to_port = 0;
  std::uint32_t sequence = 0;
  std::uint32_t acknowledged = 0;
  std::uint32_t flags = 0;
  std::string data;
};

Segment parse_frame(const std::string& frame) {
  Segment parsed;
  const bool ipv4 = big_endian(frame, 12, 2) == 0x0800;
  const std::size_t address_size = ipv4 ? 4 : 16;
  const std::string packet = frame.substr(14);
  const std::size_t header_size = ipv4 ? 20 : 40;
  if (ipv4) {
    EXPECT_EQ(big_endian(packet, 0, 2), 0x4500u);
    EXPECT_EQ(big_endian(packet, 2, 2), packet.size());
    EXPECT_EQ(ones_complement_sum(packet.substr(0, header_size)), 0xFFFFu);
  } else {
    EXPECT_EQ(big_endian(frame, 12, 2), 0x86DDu);
    EXPECT_EQ(big_endian(packet, 4, 2), packet.size() - header_size);
  }
  const std::size_t addresses = header_size - 2 * address_size;
  parsed.from = packet.substr(addresses, address_size);
  parsed.to = packet.substr(addresses + address_size, address_size);

  const std::string tcp = packet.substr(header_size);
  const std::string pseudo_header = parsed.from + parsed.to + std::string("\0\x06", 2) +
                                    static_cast<char>(tcp.size() >> 8) +
                                    static_cast<char>(tcp.size());
  EXPECT_EQ(ones_complement_sum(pseudo_header + tcp), 0xFFFFu);
  parsed.from_port = big_endian(tcp, 0, 2);
  parsed.to_port = big_endian(tcp, 2, 2);
  parsed.sequence = big_endian(tcp, 4, 4);
  parsed.acknowledged = big_endian(tcp, 8, 4);
  parsed.flags = big_endian(tcp, 13, 1);
  parsed.data = tcp.substr(20);
  return parsed;
}

class CaptureTest : public ::testing::Test {
 protected:
  CaptureTest() {
    const std::string name = std::string("CaptureTest.") +
                             ::testing::UnitTest::GetInstance()->current_test_info()->name();
    const std::string collected = test::capture_path(name);
    path_ = collected.empty() ? ::testing::TempDir() + name + ".pcap" : collected;
  }

  [[nodiscard]] std::string content() const {
    std::ostringstream bytes_of_file;
    bytes_of_file << std::ifstream(path_, std::ios::binary).rdbuf();
    return bytes_of_file.str();
  }

  [[nodiscard]] std::vector<Segment> segments() const {
    const std::string file = content();
    std::vector<Segment> found;
    for (std::size_t at = 24; at < file.size();) {
      const std::uint32_t length = little_endian(file, at + 8);
      EXPECT_EQ(little_endian(file, at + 12), length);
      EXPECT_LT(little_endian(file, at + 4), 1000000u);
      found.push_back(parse_frame(file.substr(at + 16, length)));
      at += 16 + length;
    }
    return found;
  }

  // Connects, sets up S7 communication, and takes one answer of `size` bytes of data.
  void hold_a_dialogue(TcpClient& client, const std::string& host, std::int32_t port,
                       std::size_t size) {
    inner_.answers = {kConnectConfirm, kSetupAnswer, read_answer(size)};
    client.RemoteHost(host);
    client.RemotePort(port);
    client.Connect();
    EXPECT_EQ(client.State(), kTcpConnected);
    client.SendData(kConnectRequest);
    EXPECT_EQ(client.GetData(), kConnectConfirm);
    client.SendData(kSetup);
    EXPECT_EQ(client.GetData(), kSetupAnswer);
    inner_.available = read_answer(size);
    EXPECT_EQ(client.GetData(), read_answer(size));
  }

  [[nodiscard]] int check_with_tshark() const {
    return std::system(("python3 " PLEXUM_CHECK_CAPTURES " '" + path_.string() + "'").c_str());
  }

  std::filesystem::path path_;
  test::ScriptedTcpClient inner_;
};

TEST_F(CaptureTest, StartsWithTheHeaderOfAPcapFile) {
  const CaptureFile file(path_.string());
  EXPECT_EQ(test::hex(content()),
            "D4 C3 B2 A1 02 00 04 00 00 00 00 00 00 00 00 00 00 00 04 00 01 00 00 00");
  EXPECT_THROW(CaptureFile("/nonexistent/x.pcap"), std::system_error);
}

TEST_F(CaptureTest, EveryByteIsNumberedAndAcknowledged) {
  {
    CaptureFile file(path_.string());
    CapturingTcpClient client(inner_, file);
    hold_a_dialogue(client, "10.0.0.5", 102, 4000);
    client.Close();
  }
  const std::vector<Segment> all = segments();
  ASSERT_GE(all.size(), 6u);
  EXPECT_EQ(all[0].flags, 0x02u);
  EXPECT_EQ(all[1].flags, 0x12u);
  EXPECT_EQ(all[2].flags, 0x10u);
  EXPECT_EQ(all.back().flags, 0x10u);
  EXPECT_EQ(all[all.size() - 2].flags, 0x11u);
  EXPECT_EQ(all[all.size() - 3].flags, 0x11u);

  std::string sent[2];
  std::uint32_t next[2] = {all[0].sequence, all[1].sequence};
  for (std::size_t i = 0; i < all.size(); ++i) {
    const Segment& segment = all[i];
    const std::size_t side = segment.to_port == 102 ? 0 : 1;
    EXPECT_EQ((side == 0 ? segment.to : segment.from), bytes("0A 00 00 05"));
    EXPECT_EQ((side == 0 ? segment.from : segment.to), bytes("C0 00 02 01"));
    EXPECT_EQ(segment.sequence, next[side]) << "segment " << i;
    EXPECT_EQ(segment.acknowledged, i == 0 ? 0 : next[1 - side]) << "segment " << i;
    EXPECT_LE(segment.data.size(), 1460u);
    next[side] += static_cast<std::uint32_t>(segment.data.size());
    if ((segment.flags & 0x03) != 0) ++next[side];
    sent[side] += segment.data;
  }
  EXPECT_EQ(sent[0], kConnectRequest + kSetup);
  EXPECT_EQ(sent[1], kConnectConfirm + kSetupAnswer + read_answer(4000));
}

TEST_F(CaptureTest, TheEndsAddressesFollowTheHost) {
  struct Case {
    const char* host;
    const char* server;
    const char* client;
  };
  const Case cases[] = {
      {"192.168.0.1", "C0 A8 00 01", "C0 00 02 01"},
      {"127.0.0.9", "7F 00 00 09", "7F 00 00 09"},
      {"plc.example", "C0 00 02 02", "C0 00 02 01"},
      {"::1", "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 01",
       "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 01"},
      {"fe80::1%eth0", "FE 80 00 00 00 00 00 00 00 00 00 00 00 00 00 01",
       "20 01 0D B8 00 00 00 00 00 00 00 00 00 00 00 01"},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.host);
    {
      CaptureFile file(path_.string());
      CapturingTcpClient client(inner_, file);
      hold_a_dialogue(client, each.host, 102, 2000);
      client.Close();
    }
    const std::vector<Segment> all = segments();
    ASSERT_FALSE(all.empty());
    EXPECT_EQ(test::hex(all[0].to), each.server);
    EXPECT_EQ(test::hex(all[0].from), each.client);
    EXPECT_EQ(check_with_tshark(), 0);
  }
}

TEST_F(CaptureTest, AConnectionEndsByWhoeverEndedIt) {
  struct Case {
    const char* name;
    std::int16_t state;
    std::vector<std::uint32_t> flags;  // of the last segments
    bool server_first;
  };
  const Case cases[] = {
      {"the control", kTcpConnected, {0x11, 0x11, 0x10}, false},
      {"the peer", kTcpPeerClosing, {0x11, 0x11, 0x10}, true},
      {"a reset", kTcpError, {0x14}, true},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    {
      CaptureFile file(path_.string());
      CapturingTcpClient client(inner_, file);
      hold_a_dialogue(client, "127.0.0.1", 102, 1);
      inner_.state = each.state;
      client.Close();
    }
    const std::vector<Segment> all = segments();
    std::vector<std::uint32_t> flags;
    for (std::size_t i = all.size() - each.flags.size(); i < all.size(); ++i) {
      flags.push_back(all[i].flags);
    }
    EXPECT_EQ(flags, each.flags);
    EXPECT_EQ(all[all.size() - flags.size()].from_port == 102, each.server_first);
  }
}

TEST_F(CaptureTest, WhatTheControlNeverTookIsThere) {
  {
    CaptureFile file(path_.string());
    CapturingTcpClient client(inner_, file);
    hold_a_dialogue(client, "127.0.0.1", 102, 1);
    inner_.available = read_answer(7);
    client.Close();
    EXPECT_TRUE(file.complete());
  }
  std::string received;
  for (const Segment& segment : segments()) {
    if (segment.from_port == 102) received += segment.data;
  }
  EXPECT_EQ(received, kConnectConfirm + kSetupAnswer + read_answer(1) + read_answer(7));
}

TEST_F(CaptureTest, AConnectionThatNeverCameUpLeavesNothing) {
  CaptureFile file(path_.string());
  CapturingTcpClient client(inner_, file);
  inner_.on_connect = [this] { inner_.state = kTcpError; };
  client.Connect();
  EXPECT_EQ(client.State(), kTcpError);
  client.Close();
  EXPECT_THROW(client.SendData(kSetup), RuntimeError);
  EXPECT_EQ(segments().size(), 0u);
}

TEST_F(CaptureTest, SeveralConnectionsAndClientsShareAFile) {
  {
    CaptureFile file(path_.string());
    CapturingTcpClient client(inner_, file);
    hold_a_dialogue(client, "127.0.0.1", 102, 10);
    client.Close();
    hold_a_dialogue(client, "127.0.0.1", 10102, 10);
    test::ScriptedTcpClient other_inner;
    CapturingTcpClient other(other_inner, file);
    other.RemoteHost("::1");
    other.RemotePort(2000);
    other_inner.answers = {kConnectConfirm};
    other.Connect();
    other.SendData(kConnectRequest);
    client.Close();
    EXPECT_EQ(other.GetData(), kConnectConfirm);
  }  // ends a connection that is still open
  std::vector<std::uint32_t> starts;
  std::vector<std::uint32_t> ends;
  for (const Segment& segment : segments()) {
    if (segment.flags == 0x02) starts.push_back(segment.from_port);
    if (segment.flags == 0x11 && segment.from_port >= 49152) ends.push_back(segment.from_port);
  }
  EXPECT_THAT(starts, ElementsAre(49152, 49153, 49154));
  EXPECT_THAT(ends, ElementsAre(49152, 49153, 49154));
  EXPECT_EQ(check_with_tshark(), 0);
}

}  // namespace
}  // namespace plexum::cli
