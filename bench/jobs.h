#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "base/host_environment.h"
#include "base/tcp_client.h"
#include "bench/floor.h"
#include "control/plexum_link.h"

namespace plexum::bench {

// Something that a host does with a connected control. Throws std::runtime_error unless it ends
// well.
struct Job {
  std::string name;
  std::function<void(PlexumLink&)> run;
};

// The jobs of the round trips.
std::vector<Job> round_trip_jobs();

// `blocks` data blocks of `size` bytes each, in reads as large as a PDU of `pdu` bytes carries.
Job block_reads(int blocks, int size, int pdu);

// Connects; throws std::runtime_error when that fails.
void connect(PlexumLink& link, std::uint16_t port);

// A TCP client whose peer answers at once, in memory; it keeps what was exchanged, a telegram that
// is repeated once.
class AnsweringClient final : public TcpClient {
 public:
  explicit AnsweringClient(std::uint16_t pdu) : pdu_(pdu) {}

  Dialogue dialogue;

  std::int16_t State() override { return state_; }
  std::int32_t BytesReceived() override { return static_cast<std::int32_t>(answer_.size()); }
  void RemoteHost(const std::string&) override {}
  void RemotePort(std::int32_t) override {}
  void Connect() override { state_ = kTcpConnected; }
  void SendData(const std::string& bytes) override;
  std::string GetData() override;
  void Close() override { state_ = kTcpClosed; }

 private:
  std::uint16_t pdu_;
  std::int16_t state_ = kTcpClosed;
  std::string next_answer_;
  std::string answer_;
};

// What the control exchanges in a job, and in connecting.
Dialogue dialogue_of(const Job& job, std::uint16_t pdu, HostEnvironment& environment);
Dialogue dialogue_of_connecting(std::uint16_t pdu, HostEnvironment& environment);

}  // namespace plexum::bench
