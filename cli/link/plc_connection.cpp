#include "cli/link/plc_connection.h"

#include <algorithm>
#include <chrono>

#include "base/runtime_error.h"
#include "cli/watching/trace.h"
#include "sim/simulated_plc.h"

namespace plexum::cli {
namespace {

std::unique_ptr<sim::SimulatedPlc> simulated_plc(const ConnectionOptions& options) {
  if (!options.simulated) return nullptr;
  sim::Options simulator;
  simulator.port = 0;
  simulator.runs_program = true;
  simulator.pdu = static_cast<std::uint16_t>(options.pdu);
  return std::make_unique<sim::SimulatedPlc>(simulator);
}

Failure failure(const std::string& what, JobKind step, std::int32_t err) {
  const ErrorWords words = error_words(step, err);
  std::string line = what + ": " + words.meaning + ", err " + std::to_string(err);
  if (!words.advice.empty()) line += "; " + words.advice;
  // Smaller values of err are the control's own.
  constexpr std::int32_t kLargestOfControl = 4;
  return Failure(line, ExitCode::kFailed,
                 err > kLargestOfControl ? Failure::Origin::kPlcRefused : Failure::Origin::kOther);
}

}  // namespace

PlcConnection::PlcConnection(const ConnectionOptions& options)
    : options_(options),
      simulated_(simulated_plc(options)),
      ip_(simulated_ ? "127.0.0.1" : options.ip),
      port_(simulated_ ? simulated_->port() : options.port),
      local_(options.capture_path) {
  if (ip_.empty()) {
    throw usage_error("no PLC is named: give --ip ADDRESS, set PLEXUM_IP, or try --sim");
  }
  if (options.trace) trace_telegrams(local_.watched);
  link().Tzeit(options.tzeit);
  // The control's message boxes (the length of a state list, the error of a refused download) are
  // dropped: the commands' own lines tell the same in better words.
  local_.environment.on_message_box = [](const std::string&) {};
}

PlcConnection::~PlcConnection() {
  if (connected()) link().ag_exit();
}

std::string PlcConnection::plc_name() const {
  const bool ipv6 = ip_.find(':') != std::string::npos;
  return (ipv6 ? "[" + ip_ + "]" : ip_) + ":" + std::to_string(port_);
}

void PlcConnection::connect() {
  if (connected()) return;
  const std::string what = "connecting to " + plc_name();
  // Ends an attempt that is still under way: the control would wait for that one.
  link().ag_exit();
  link().err(0);
  try {
    if (link().ag_ini(ip_, std::to_string(port_), options_.tsap_e, options_.called_tsap())) return;
  } catch (const RuntimeError& error) {
    drop_connection();
    if (error.number() >= kTcpWrongState) throw failure(what, JobKind::kConnect, 1);
    throw usage_error(what + ": " + error.text() +
                      "; a TSAP is two numbers joined by a point, such as 3.2");
  }
  throw failure(what, JobKind::kConnect, link().err());
}

void PlcConnection::disconnect() {
  link().ag_exit();
  link().s7init(false);
}

void PlcConnection::drop_connection() {
  disconnect();
  link().inuse(false);
}

Value PlcConnection::run(const std::string& what, JobKind step,
                         const std::function<Value(PlexumLink&)>& job) {
  if (link().inuse()) throw Failure(what + ": another job is still waiting for its answer");
  connect();
  link().err(0);
  Value result;
  try {
    result = job(link());
  } catch (const RuntimeError&) {
    // The arguments are right, as this program made them. So there was no answer, or one that was
    // too short.
    const std::int32_t err = link().err() == 0 ? 3 : link().err();
    drop_connection();
    // After a run-time error a write's err is no return code: 3 is the time-out.
    throw failure(what, step == JobKind::kWrite ? JobKind::kService : step, err);
  }
  link().inuse(false);  // some members leave it set when they are done
  const std::int32_t err = link().err();
  if (err == 4) disconnect();  // the control itself leaves s7init set
  if (err != 0) throw failure(what, step, err);
  return result;
}

void PlcConnection::idle(std::chrono::milliseconds duration, const std::function<bool()>& ended) {
  using Clock = std::chrono::steady_clock;
  constexpr std::chrono::milliseconds kSlice{50};
  const Clock::time_point end = Clock::now() + duration;
  for (Clock::time_point now = Clock::now(); now < end && !(ended && ended()); now = Clock::now()) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - now);
    link().MsgWait(static_cast<std::int32_t>(std::min(left, kSlice).count()));
  }
}

}  // namespace plexum::cli
