#pragma once

#include <chrono>
#include <cstdint>
#include <fstream>
#include <string>
#include <string_view>

namespace plexum::cli {

// One end of a captured TCP connection.
struct CaptureEndpoint {
  std::string address;  // 4 or 16 bytes, in network order
  std::uint16_t port = 0;
};

// The endpoints of a connection to `host`: an IPv4 or IPv6 address stands for itself; a name, whose
// address the capture doesn't learn, for a documentation address (RFC 5737). The client's end is on
// the loopback where the server's is, else a documentation address, too.
CaptureEndpoint captured_server(const std::string& host, std::int32_t port);
CaptureEndpoint captured_client(const CaptureEndpoint& server, std::uint16_t port);

// A capture in the classic pcap format, which Wireshark and tshark open, also while it grows. The
// Ethernet, IP and TCP headers are made up around the real bytes.
class CaptureFile {
 public:
  // Throws std::system_error when the file can't be written.
  explicit CaptureFile(const std::string& path);

  // A captured connection never disturbs the job that it belongs to: once a write fails the capture
  // stays as it is, and this turns false.
  [[nodiscard]] bool complete() const { return file_.good(); }

  // A client port that no other connection of this file has, as long as there are any.
  std::uint16_t next_client_port();

  // Adds an Ethernet frame with the present time.
  void add_frame(std::string_view frame);

 private:
  std::ofstream file_;
  std::uint16_t connections_ = 0;
};

// One TCP connection in a capture file, from its handshake to its end.
class CapturedConnection {
 public:
  enum class End : std::uint8_t {
    kByClient,  // the client closed first
    kByServer,  // the server closed first
    kReset      // the server reset it
  };

  // Adds the handshake.
  CapturedConnection(CaptureFile& file, CaptureEndpoint client, CaptureEndpoint server);

  void client_sent(std::string_view bytes) { add_data(client_, server_, bytes); }
  void server_sent(std::string_view bytes) { add_data(server_, client_, bytes); }

  // Adds the end; nothing may follow.
  void close(End how);

 private:
  struct Side {
    CaptureEndpoint endpoint;
    std::uint32_t sequence;         // of the next byte that it sends
    std::uint8_t hardware_address;  // last byte
    std::uint16_t packets = 0;      // sent so far: the IPv4 identification
  };

  void add_data(Side& from, Side& to, std::string_view bytes);
  void add_segment(Side& from, const Side& to, std::uint8_t flags, std::string_view bytes = {});

  CaptureFile& file_;
  Side client_;
  Side server_;
};

}  // namespace plexum::cli
