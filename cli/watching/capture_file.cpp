#include "cli/watching/capture_file.h"

#ifdef _WIN32
#include <winsock2.h>
#include <ws2tcpip.h>
#else
#include <arpa/inet.h>
#endif

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <system_error>
#include <utility>

#include "cli/system/path.h"

namespace plexum::cli {

namespace {

// The file's header is little-endian, the packets' headers are big-endian.
constexpr std::uint32_t kPcapMagic = 0xA1B2C3D4;  // times in microseconds
constexpr std::uint32_t kPcapVersion = 2 | 4 << 16;
constexpr std::uint32_t kLongestFrame = 262144;
constexpr std::uint32_t kEthernet = 1;

constexpr std::uint16_t kFirstClientPort = 49152;
constexpr std::uint16_t kClientPorts = 16384;

constexpr std::size_t kIpv4Length = 4;
constexpr std::size_t kIpv6Length = 16;
constexpr std::size_t kIpv4SegmentSize = 1460;  // a frame of 1500 bytes less both headers
constexpr std::size_t kIpv6SegmentSize = 1440;

constexpr std::uint8_t kProtocolTcp = 6;
constexpr std::size_t kTcpHeaderSize = 20;
constexpr std::uint8_t kFin = 0x01;
constexpr std::uint8_t kSyn = 0x02;
constexpr std::uint8_t kRst = 0x04;
constexpr std::uint8_t kPsh = 0x08;
constexpr std::uint8_t kAck = 0x10;

std::string little_endian_32(std::uint32_t value) {
  std::string bytes;
  for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(value >> shift);
  return bytes;
}

std::string big_endian_16(std::size_t value) {
  return {static_cast<char>(value >> 8), static_cast<char>(value)};
}

std::string big_endian_32(std::uint32_t value) {
  return big_endian_16(value >> 16) + big_endian_16(value & 0xFFFF);
}

// The Internet checksum (RFC 1071).
std::string checksum(std::string_view bytes) {
  std::uint32_t sum = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const auto byte = static_cast<unsigned char>(bytes[i]);
    sum += i % 2 == 0 ? std::uint32_t{byte} << 8 : byte;
  }
  while (sum > 0xFFFF) sum = (sum & 0xFFFF) + (sum >> 16);
  return big_endian_16(~sum & 0xFFFF);
}

std::string hardware_address(std::uint8_t last) {
  return std::string({0x02, 0, 0, 0, 0}) + static_cast<char>(last);  // locally administered
}

std::string ipv4_header(const CaptureEndpoint& from, const CaptureEndpoint& to,
                        std::uint16_t identification, std::size_t payload) {
  std::string header = {0x45, 0};
  header += big_endian_16(20 + payload);
  header += big_endian_16(identification);
  header += {0x40, 0, 64, kProtocolTcp};  // don't fragment; hops
  header += {0, 0};
  header += from.address + to.address;
  return header.replace(10, 2, checksum(header));
}

std::string ipv6_header(const CaptureEndpoint& from, const CaptureEndpoint& to,
                        std::size_t payload) {
  std::string header = {0x60, 0, 0, 0};
  header += big_endian_16(payload);
  header += {kProtocolTcp, 64};
  return header + from.address + to.address;
}

// What the TCP checksum covers besides the segment.
std::string pseudo_header(const CaptureEndpoint& from, const CaptureEndpoint& to,
                          std::size_t length) {
  return from.address + to.address + big_endian_32(static_cast<std::uint32_t>(length)) +
         big_endian_32(kProtocolTcp);
}

bool is_loopback(const std::string& address) {
  if (address.size() == kIpv4Length) return address[0] == 127;
  return address == std::string(kIpv6Length - 1, '\0') + '\1';
}

}  // namespace

CaptureEndpoint captured_server(const std::string& host, std::int32_t port) {
  CaptureEndpoint server{{}, static_cast<std::uint16_t>(port)};
  std::array<char, kIpv6Length> bytes{};
  const std::string without_zone = host.substr(0, host.find('%'));
  if (inet_pton(AF_INET, host.c_str(), bytes.data()) == 1) {
    server.address.assign(bytes.data(), kIpv4Length);
  } else if (inet_pton(AF_INET6, without_zone.c_str(), bytes.data()) == 1) {
    server.address.assign(bytes.data(), kIpv6Length);
  } else {
    server.address = {static_cast<char>(192), 0, 2, 2};
  }
  return server;
}

CaptureEndpoint captured_client(const CaptureEndpoint& server, std::uint16_t port) {
  CaptureEndpoint client{server.address, port};
  if (is_loopback(server.address)) return client;
  client =
      captured_server(server.address.size() == kIpv4Length ? "192.0.2.1" : "2001:db8::1", port);
  return client;
}

CaptureFile::CaptureFile(const std::string& path)
    : file_(path_from_utf8(path), std::ios::binary | std::ios::trunc) {
  file_ << little_endian_32(kPcapMagic) << little_endian_32(kPcapVersion) << little_endian_32(0)
        << little_endian_32(0) << little_endian_32(kLongestFrame) << little_endian_32(kEthernet)
        << std::flush;
  if (!file_) throw std::system_error(errno, std::generic_category(), path);
}

std::uint16_t CaptureFile::next_client_port() {
  return static_cast<std::uint16_t>(kFirstClientPort + connections_++ % kClientPorts);
}

void CaptureFile::add_frame(std::string_view frame) {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(now).count();
  const auto length = little_endian_32(static_cast<std::uint32_t>(frame.size()));
  file_ << little_endian_32(static_cast<std::uint32_t>(microseconds / 1000000))
        << little_endian_32(static_cast<std::uint32_t>(microseconds % 1000000)) << length << length
        << frame << std::flush;
}

CapturedConnection::CapturedConnection(CaptureFile& file, CaptureEndpoint client,
                                       CaptureEndpoint server)
    : file_(file), client_{std::move(client), 1000, 1}, server_{std::move(server), 5000, 2} {
  add_segment(client_, server_, kSyn);
  add_segment(server_, client_, kSyn | kAck);
  add_segment(client_, server_, kAck);
}

void CapturedConnection::close(End how) {
  if (how == End::kReset) {
    add_segment(server_, client_, kRst | kAck);
    return;
  }
  Side& first = how == End::kByClient ? client_ : server_;
  Side& second = how == End::kByClient ? server_ : client_;
  add_segment(first, second, kFin | kAck);
  add_segment(second, first, kFin | kAck);
  add_segment(first, second, kAck);
}

void CapturedConnection::add_data(Side& from, Side& to, std::string_view bytes) {
  const std::size_t segment_size =
      from.endpoint.address.size() == kIpv4Length ? kIpv4SegmentSize : kIpv6SegmentSize;
  if (bytes.empty()) return;
  while (!bytes.empty()) {
    const std::size_t size = std::min(bytes.size(), segment_size);
    add_segment(from, to, kPsh | kAck, bytes.substr(0, size));
    bytes.remove_prefix(size);
  }
  add_segment(to, from, kAck);
}

void CapturedConnection::add_segment(Side& from, const Side& to, std::uint8_t flags,
                                     std::string_view bytes) {
  const bool acknowledges = (flags & kAck) != 0;
  std::string segment = big_endian_16(from.endpoint.port) + big_endian_16(to.endpoint.port) +
                        big_endian_32(from.sequence) +
                        big_endian_32(acknowledges ? to.sequence : 0);
  segment += {kTcpHeaderSize / 4 << 4, static_cast<char>(flags)};
  segment += big_endian_16(0xFFFF);  // window
  segment += {0, 0, 0, 0};           // checksum; no urgent data
  segment += bytes;
  segment.replace(16, 2,
                  checksum(pseudo_header(from.endpoint, to.endpoint, segment.size()) + segment));

  const bool ipv4 = from.endpoint.address.size() == kIpv4Length;
  const std::string packet_header =
      ipv4 ? ipv4_header(from.endpoint, to.endpoint, from.packets, segment.size())
           : ipv6_header(from.endpoint, to.endpoint, segment.size());
  file_.add_frame(hardware_address(to.hardware_address) + hardware_address(from.hardware_address) +
                  big_endian_16(ipv4 ? 0x0800 : 0x86DD) + packet_header + segment);
  ++from.packets;
  from.sequence += static_cast<std::uint32_t>(bytes.size());
  if ((flags & (kSyn | kFin)) != 0) ++from.sequence;
}

}  // namespace plexum::cli
