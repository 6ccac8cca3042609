#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <utility>

#include "base/runtime_error.h"
#include "control/plexum_link.h"
#include "fuzz/input.h"
#include "sim/client_connection.h"
#include "tests/support/fake_environment.h"
#include "tests/support/scripted_tcp_client.h"

namespace plexum::fuzz {

// A host with a hand-driven clock. No wait may be without an end.
class Host : public test::FakeEnvironment {
 public:
  int most_waits = 100'000;

  void wait_for_input(std::uint32_t milliseconds) override {
    require(waits < most_waits, "a wait comes to an end");
    FakeEnvironment::wait_for_input(milliseconds);
  }
};

// The control's end of a connection whose other end is a simulated PLC, without a network between.
// What the PLC says at once is there at once, the rest a slice later.
class Wire : public test::ScriptedTcpClient {
 public:
  explicit Wire(sim::Plc& plc) { lead_to(plc); }

  // What the peer said before it closed stays readable first.
  std::int16_t State() override {
    return state == kTcpPeerClosing && !available.empty() ? kTcpConnected : state;
  }

  // From the next connection on there is this PLC, which answers truly.
  void lead_to(sim::Plc& plc) {
    coming_.clear();
    plc_ = &plc;
    on_connect = [this] { accept(); };
    on_send = [this](const std::string& bytes) {
      for (sim::Output& output : answers_to(bytes)) deliver(std::move(output));
    };
  }
  void accept() {
    connection_.emplace(*plc_);
    coming_.clear();
    state = kTcpConnected;
  }
  // Each telegram comes long after the one before: none of the PLC's answers is under way any more.
  sim::Outputs answers_to(const std::string& bytes) {
    if (!connection_) return {};
    now_ += std::chrono::hours(1);
    return connection_->receive(sim::Bytes(bytes.begin(), bytes.end()), now_);
  }
  void deliver(sim::Output output) {
    if (output.delay.count() > 0) return deliver_in(1, std::move(output));
    if (state != kTcpConnected) return;
    available.append(output.bytes.begin(), output.bytes.end());
    if (output.end == sim::Output::End::kNone) return;
    const bool reset = output.end == sim::Output::End::kReset;
    if (reset) available.clear();
    state = reset ? kTcpError : kTcpPeerClosing;
  }
  // Delivers it that many slices after the output before it.
  void deliver_in(std::size_t slices, sim::Output output) {
    output.delay = {};
    coming_.push_back({slices, std::move(output)});
  }
  // Whether something came in this slice.
  bool pass_slice() {
    if (coming_.empty() || --coming_.front().slices > 0) return false;
    deliver(std::move(coming_.front().output));
    coming_.pop_front();
    return true;
  }

 private:
  struct Coming {
    std::size_t slices;
    sim::Output output;
  };

  sim::Plc* plc_ = nullptr;
  std::optional<sim::ClientConnection> connection_;
  sim::ClientConnection::TimePoint now_;
  std::deque<Coming> coming_;
};

// Options of a PLC whose clock stands still.
inline sim::Options standing_clock() {
  sim::Options options;
  options.now = [] { return sim::Clock::TimePoint{}; };
  return options;
}

// A control, its host, and its PLC.
struct World {
  sim::Plc plc{standing_clock()};
  Host host;
  Wire wire{plc};
  PlexumLink link{host, wire};

  World() {
    link.Tzeit(5);
    host.on_wait = [this](std::uint32_t ms) { return wire.pass_slice() ? 0 : ms; };
  }

  bool connect() {
    link.err(0);
    return link.ag_ini("127.0.0.1", "102", "1.0", "3.2");
  }
};

// Makes a call of the control; the number of the run-time error that it raises, 0 for none. An
// error that the control's documentation doesn't name is a finding, and so is any other exception.
template <typename Call>
std::int32_t error_of(Call call) {
  try {
    call();
  } catch (const RuntimeError& error) {
    const std::int32_t number = error.number();
    require(number == kInvalidArgument || number == kOverflow || number == kSubscriptOutOfRange ||
                number == kTypeMismatch || number == kTcpWrongState ||
                number == kTcpInvalidArgument || number == kTcpInvalidOperation,
            "a run-time error is a documented one");
    return number;
  }
  return 0;
}

}  // namespace plexum::fuzz
