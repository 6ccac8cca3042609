#include "cli/link/plc_connection.h"

#include <algorithm>

#include "cli/text/error_words.h"
#include "cli/watching/trace.h"
#include "sim/simulated_plc.h"

namespace plexum::cli {
namespace {

std::unique_ptr<sim::SimulatedPlc> simulated_plc(const ConnectionOptions& options) {
  if (!options.simulated) return nullptr;
  sim::Options simulator;
  simulator.port = 0;
  simulator.runs_program = true;
  return std::make_unique<sim::SimulatedPlc>(simulator);
}

client::Options client_options(const ConnectionOptions& options) {
  client::Options made;
  made.pdu = options.pdu;
  made.connect_time_out = options.time_out;
  made.time_out = options.time_out;
  return made;
}

}  // namespace

PlcConnection::PlcConnection(const ConnectionOptions& options)
    : options_(options),
      simulated_(simulated_plc(options)),
      ip_(simulated_ ? "127.0.0.1" : options.ip),
      port_(simulated_ ? simulated_->port() : options.port),
      capture_(platform_.tcp_client(), options.capture_path),
      watched_(capture_.tcp_client()),
      client_(platform_.environment(), watched_, client_options(options)) {
  if (ip_.empty()) {
    throw usage_error("no PLC is named: give --ip ADDRESS, set PLEXUM_IP, or try --sim");
  }
  if (options.trace) trace_telegrams(watched_);
}

PlcConnection::~PlcConnection() = default;

std::string PlcConnection::plc_name() const {
  const bool ipv6 = ip_.find(':') != std::string::npos;
  return (ipv6 ? "[" + ip_ + "]" : ip_) + ":" + std::to_string(port_);
}

void PlcConnection::connect() {
  if (client_.connected()) return;
  client::Endpoint endpoint{ip_, port_, options_.calling_tsap, options_.called_tsap};
  if (endpoint.called_tsap.empty()) {
    endpoint.called_tsap = client::tsap_of(options_.partner, options_.rack, options_.slot);
  }
  try {
    client_.connect(endpoint);
  } catch (const client::Error& error) {
    rethrow("connecting to " + plc_name(), error);
  }
}

void PlcConnection::cancel_when(std::function<bool()> cancelled) {
  client_.options().cancelled = std::move(cancelled);
}

void PlcConnection::idle(std::chrono::milliseconds duration, const std::function<bool()>& ended) {
  using Clock = std::chrono::steady_clock;
  constexpr std::chrono::milliseconds kSlice{50};
  const Clock::time_point end = Clock::now() + duration;
  for (Clock::time_point now = Clock::now(); now < end && !(ended && ended()); now = Clock::now()) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - now);
    platform_.environment().wait_for_input(
        static_cast<std::uint32_t>(std::min(left, kSlice).count()));
    platform_.environment().process_messages();
    static_cast<void>(client_.connected());  // closes one that has ended
  }
}

void PlcConnection::rethrow(const std::string& what, const client::Error& error) {
  throw Failure(line_of(what, words_of(error.failure())), ExitCode::kFailed,
                error.is_refusal() ? Failure::Origin::kPlcRefused : Failure::Origin::kOther);
}

}  // namespace plexum::cli
