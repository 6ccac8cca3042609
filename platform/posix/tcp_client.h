#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "base/tcp_client.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/event_loop.h"
#include "platform/posix/resolver.h"

namespace plexum::posix {

// A TCP client whose descriptor is part of an event loop's poll, so that a wait ends when
// something arrives. The loop must outlive the client and belongs to the same thread.
//
// State and BytesReceived tell the truth, whether the loop was run or not, for as few system calls
// as possible. What was last learned of arrived bytes and of the connection's end counts until
// - a Connect, a completed connection or the taking of all that may lie here: the next question
//   looks (receives that don't block, a connect while connecting);
// - the loop's wait: if it found the descriptor ready, the next question or the loop's process()
//   receives, whichever comes first; if not, that is the newest knowledge;
// - a millisecond has gone by: then a question looks, for a host that doesn't run the loop.
// So a job that follows another one at once costs one send, one wait and one receive. A later one
// costs a look at its start in addition.
class PosixTcpClient final : public TcpClient {
 public:
  explicit PosixTcpClient(EventLoop& loop);
  ~PosixTcpClient() override;

  std::int16_t State() override;
  std::int32_t BytesReceived() override;
  void RemoteHost(const std::string& host) override;
  void RemotePort(std::int32_t port) override;
  void Connect() override;
  // By what is known of the state; it doesn't look.
  void SendData(const std::string& bytes) override;
  std::string GetData() override;
  void Close() override;
  ConnectFailure connect_failure() override { return connect_failure_; }

 private:
  void look_if_stale();
  void on_ready(short revents);
  void update_watch();
  void drop_descriptor();

  void try_addresses();
  void look_at_connect();
  void connected();

  void receive(bool may_have_ended);
  void flush();
  void fail_sending();
  [[nodiscard]] std::int16_t known_state() const {
    return inbound_.empty() ? state_ : kTcpConnected;
  }
  [[nodiscard]] std::size_t unsent() const { return outbound_.size() - sent_; }

  EventLoop& loop_;
  std::string host_;
  std::uint16_t port_ = 0;

  // State tells this, with one exception: while bytes are left to be taken it tells kTcpConnected.
  std::int16_t state_ = kTcpClosed;
  // Lives as long as the look-up of this connection is wanted.
  std::shared_ptr<std::monostate> look_up_;
  std::vector<SocketAddress> addresses_;
  std::size_t next_address_ = 0;
  ConnectFailure connect_failure_ = ConnectFailure::kUnknown;  // of the address tried last
  Descriptor descriptor_;
  short watched_ = 0;  // events

  std::string inbound_;
  std::string outbound_;
  std::size_t sent_ = 0;  // of outbound_
  bool send_failed_ = false;

  EventLoop::Clock::time_point known_at_{};     // the last look
  EventLoop::Clock::time_point stale_since_{};  // what was learned before doesn't count
};

}  // namespace plexum::posix
