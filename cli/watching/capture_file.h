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

// The two ends of a connection to `host`, as the capture shows them. An IPv4 or IPv6 address is
// shown as it is. The capture doesn't learn the address of a name and shows a documentation address
// (RFC 5737) in its place. The client's end is the loopback address where the server's is one, and
// a documentation address otherwise.
CaptureEndpoint captured_server(const std::string& host, std::int32_t port);
CaptureEndpoint captured_client(const CaptureEndpoint& server, std::uint16_t port);

// A capture in the classic pcap format. Wireshark and tshark can open it, also while it grows. Only
// the bytes of the connection are real; the Ethernet, IP and TCP headers are made up.
class CaptureFile {
 public:
  // Throws std::system_error when the file can't be written.
  explicit CaptureFile(const std::string& path);

  // False as soon as a write has failed. Then the capture stays as it is: it never disturbs the job
  // whose telegrams it gets.
  [[nodiscard]] bool complete() const { return file_.good(); }

  // A client port of its own for each connection; after 16384 connections they begin again.
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
