#include "cli/link/session.h"

#include <algorithm>
#include <chrono>

#include "base/runtime_error.h"
#include "cli/watching/trace.h"
#include "sim/simulated_plc.h"

namespace plexum::cli {
namespace {

// What a job's telegram and its answer need beside the data, in bytes of the PDU: the header of an
// answer (12), its parameter (2) and its item's header (4); the header of a write job (10), its
// parameter (14) and its item's header (4).
constexpr unsigned kReadOverhead = 18;
constexpr unsigned kWriteOverhead = 28;

// The control encodes the byte addresses 0 to 4095 of every 8192.
constexpr std::uint32_t kAddressPeriod = 8192;
constexpr std::uint32_t kAddressesOfPeriod = 4096;
constexpr std::uint32_t kAddresses = 1u << 21;

std::unique_ptr<sim::SimulatedPlc> simulated_plc(const ConnectionOptions& options) {
  if (!options.simulated) return nullptr;
  sim::Options simulator;
  simulator.port = 0;
  simulator.runs_program = true;
  simulator.pdu = static_cast<std::uint16_t>(options.pdu);
  return std::make_unique<sim::SimulatedPlc>(simulator);
}

// The byte string of a read's result.
std::string bytes_of(const Value& value) {
  if (const auto* bytes = std::get_if<std::string>(&value)) return *bytes;
  std::string bytes;
  if (const auto* array = std::get_if<DoubleArray>(&value)) {
    for (const double element : array->elements) {
      bytes += static_cast<char>(static_cast<unsigned char>(element));
    }
  }
  return bytes;
}

Failure failure(const std::string& what, Step step, std::int32_t err) {
  const ErrorWords words = error_words(step, err);
  std::string line = what + ": " + words.meaning + ", err " + std::to_string(err);
  if (!words.advice.empty()) line += "; " + words.advice;
  return Failure(line);
}

// Throws unless the control can address the first byte of every job, `most` bytes apart. It is
// asked before the first job, so that no range is done by half for this reason.
void check_starts(const std::string& what, const MemoryRange& range, std::uint32_t most) {
  for (std::uint32_t done = 0; done < range.size; done += most) {
    if (can_address(range.start + done)) continue;
    throw usage_error(what + ": the control can't address byte " +
                      std::to_string(range.start + done) +
                      " (of every 8192 bytes it reaches the first 4096)");
  }
}

}  // namespace

bool can_address(std::uint32_t first_byte) {
  return first_byte % kAddressPeriod < kAddressesOfPeriod && first_byte < kAddresses;
}

std::string described(const MemoryRange& range) {
  if (!range.name.empty()) return range.name;
  std::string text = range.area == "D" || range.area == "DI"
                         ? (range.area == "D" ? "DB" : "DI") + std::to_string(range.block)
                         : range.area;
  text += range.size == 1 ? " byte " : " bytes ";
  text += std::to_string(range.start);
  if (range.size > 1) text += " to " + std::to_string(range.start + range.size - 1);
  return text;
}

Session::Session(const ConnectionOptions& options)
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
  // What its message boxes say (the length of a state list, the error of a refused download) is
  // told better by the commands' own lines.
  local_.environment.on_message_box = [](const std::string&) {};
}

Session::~Session() {
  if (connected()) link().ag_exit();
}

std::string Session::plc_name() const {
  const bool ipv6 = ip_.find(':') != std::string::npos;
  return (ipv6 ? "[" + ip_ + "]" : ip_) + ":" + std::to_string(port_);
}

void Session::connect() {
  if (connected()) return;
  const std::string what = "connecting to " + plc_name();
  // What an earlier attempt left under way would be waited for in place of a new one.
  link().ag_exit();
  link().err(0);
  try {
    if (link().ag_ini(ip_, std::to_string(port_), options_.tsap_e, options_.called_tsap())) return;
  } catch (const RuntimeError& error) {
    drop_connection();
    if (error.number() >= kTcpWrongState) throw failure(what, Step::kConnect, 1);
    throw usage_error(what + ": " + error.text() +
                      "; a TSAP is two numbers joined by a point, such as 3.2");
  }
  throw failure(what, Step::kConnect, link().err());
}

void Session::disconnect() {
  link().ag_exit();
  link().s7init(false);
}

void Session::drop_connection() {
  disconnect();
  link().inuse(false);
}

Value Session::run(const std::string& what, Step step,
                   const std::function<Value(PlexumLink&)>& job) {
  if (link().inuse()) throw Failure(what + ": another job is still waiting for its answer");
  connect();
  link().err(0);
  Value result;
  try {
    result = job(link());
  } catch (const RuntimeError&) {
    // The arguments are this program's own, so it was the answer: none, or too short to be one.
    const std::int32_t err = link().err() == 0 ? 3 : link().err();
    drop_connection();
    // A write's err is no return code then, but tells of the time-out.
    throw failure(what, step == Step::kWrite ? Step::kService : step, err);
  }
  link().inuse(false);  // some members leave it set when they are done
  const std::int32_t err = link().err();
  if (err == 4) disconnect();  // else the control would keep taking itself for connected
  if (err != 0) throw failure(what, step, err);
  return result;
}

std::string Session::read(const MemoryRange& range) {
  const std::string what = "reading " + described(range);
  const std::uint32_t most = options_.pdu - kReadOverhead;
  check_starts(what, range, most);
  std::string bytes;
  while (bytes.size() < range.size) {
    const auto done = static_cast<std::uint32_t>(bytes.size());
    const std::uint32_t size = std::min(most, range.size - done);
    const std::string block = std::to_string(range.block);
    const std::string start = std::to_string(range.start + done);
    const Value part = run(what, Step::kRead, [&](PlexumLink& link) {
      // Timers and counters are known to ag_Read alone.
      return range.area == "T" || range.area == "Z"
                 ? link.ag_Read(block, std::to_string(size), start, "B", range.area)
                 : link.ag_ReadB(block, std::to_string(size), start, "C", range.area);
    });
    const std::string part_bytes = bytes_of(part);
    if (part_bytes.size() != size) throw Failure(what + ": the PLC's answer has too few bytes");
    bytes += part_bytes;
  }
  return bytes;
}

void Session::write(const MemoryRange& range, const std::string& bytes) {
  const std::string what = "writing " + described(range);
  const std::uint32_t most = options_.pdu - kWriteOverhead;
  check_starts(what, range, most);
  for (std::size_t done = 0; done < bytes.size(); done += most) {
    const std::uint32_t first = range.start + static_cast<std::uint32_t>(done);
    run(what, Step::kWrite, [&](PlexumLink& link) {
      std::string start = std::to_string(first);  // is left with the bit address
      return link.ag_WriteMB(std::to_string(range.block), start, bytes.substr(done, most),
                             range.area);
    });
  }
}

void Session::write_bit(const MemoryRange& range, unsigned bit, bool value) {
  const std::string what = "writing " + described(range) + " bit " + std::to_string(bit);
  check_starts(what, range, 1);
  run(what, Step::kWrite, [&](PlexumLink& link) {
    std::string start = std::to_string(range.start);  // is left with the bit address
    return link.ag_WriteX(std::to_string(range.block), start, value ? "1" : "0", range.area,
                          std::to_string(bit));
  });
}

void Session::idle(std::chrono::milliseconds duration, const std::function<bool()>& ended) {
  using Clock = std::chrono::steady_clock;
  constexpr std::chrono::milliseconds kSlice{50};
  const Clock::time_point end = Clock::now() + duration;
  for (Clock::time_point now = Clock::now(); now < end && !(ended && ended()); now = Clock::now()) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - now);
    link().MsgWait(static_cast<std::int32_t>(std::min(left, kSlice).count()));
  }
}

}  // namespace plexum::cli
