#include "client/connection.h"

#include <algorithm>

#include "base/runtime_error.h"
#include "client/plan.h"

namespace plexum::client {
namespace {

using std::chrono::milliseconds;
using Step = NoConnection::Step;
using Reason = NoConnection::Reason;

// The longest wait without asking whether the caller wants to go on.
constexpr std::uint32_t kSlice = 50;  // ms

// What is asked for at the least when the transport connection is made: 1024 bytes.
constexpr std::uint8_t kUsualTpdu = 10;
constexpr std::uint16_t kOwnReference = 1;

// Of a message, in bytes; an answer that is a little longer than it may be is still understood.
constexpr std::size_t kLongestMessage = 1024;

std::uint8_t tpdu_size_for(std::size_t pdu) {
  std::uint8_t size = kUsualTpdu;
  while (size < wire::kLargestTpdu && (std::size_t{1} << size) < pdu + wire::kDataUnitHeader) {
    ++size;
  }
  return size;
}

Reason reason_of(ConnectFailure failure) {
  switch (failure) {
    case ConnectFailure::kRefused:
      return Reason::kRefused;
    case ConnectFailure::kNoSuchHost:
      return Reason::kNoSuchHost;
    case ConnectFailure::kTimeOut:
      return Reason::kTimeOut;
    default:
      return Reason::kUnreachable;
  }
}

// A failure while connecting, as a failure to connect.
Failure while_connecting(Step step, const Failure& failure) {
  if (std::holds_alternative<ClosedByPlc>(failure)) return NoConnection{step, Reason::kClosed};
  if (std::holds_alternative<NoAnswer>(failure)) return NoConnection{step, Reason::kTimeOut};
  return failure;
}

}  // namespace

Connection::Connection(HostEnvironment& environment, TcpClient& tcp, const Options& options)
    : environment_(environment), tcp_(tcp), options_(options) {}

void Connection::open(const Endpoint& endpoint) {
  close();
  granted_ = {};
  strays_ = {};
  framer_ = wire::Framer(std::max(options_.pdu, kLongestMessage));
  last_reference_ = 0;
  time_out_ = options_.connect_time_out;
  Step step = Step::kTcp;
  try {
    connect_tcp(endpoint);
    step = Step::kTransport;
    connect_transport(endpoint);
    step = Step::kSetUp;
    set_up();
  } catch (const Error& error) {
    close();
    throw Error(while_connecting(step, error.failure()));
  } catch (...) {
    close();
    throw;
  }
}

void Connection::connect_tcp(const Endpoint& endpoint) {
  try {
    tcp_.RemoteHost(endpoint.host);
    tcp_.RemotePort(endpoint.port);
    tcp_.Connect();
  } catch (const RuntimeError&) {
    fail(NoConnection{Step::kTcp, Reason::kUnreachable});
  }
  progress();
  for (;;) {
    const std::int16_t state = tcp_.State();
    if (state == kTcpConnected) return;
    if (state == kTcpError) fail(NoConnection{Step::kTcp, reason_of(tcp_.connect_failure())});
    if (state == kTcpClosed || state == kTcpPeerClosing) fail(ClosedByPlc{});
    pass_slice(remaining());
  }
}

void Connection::connect_transport(const Endpoint& endpoint) {
  const std::uint8_t asked = tpdu_size_for(options_.pdu);
  wire::ConnectionRequest request;
  request.source = kOwnReference;
  request.tpdu_size = asked;
  request.calling_tsap = endpoint.calling_tsap;
  request.called_tsap = endpoint.called_tsap;
  outgoing_ = wire::build(wire::Unit(request));
  flush();
  std::optional<wire::Framer::Next> next;
  while (!(next = framer_.next())) await_bytes();
  if (const auto* fault = std::get_if<wire::Fault>(&*next)) {
    fail_senseless(fault->what, framer_.rest());
  }
  const auto* const unit = std::get_if<wire::Unit>(&*next);
  if (unit != nullptr && std::holds_alternative<wire::DisconnectRequest>(*unit)) {
    fail(NoConnection{Step::kTransport, Reason::kRefused});
  }
  const auto* const confirm =
      unit == nullptr ? nullptr : std::get_if<wire::ConnectionConfirm>(unit);
  if (confirm == nullptr) fail_senseless("no connection confirm");
  // A confirm without a size leaves it at what was asked for.
  std::uint8_t size = asked;
  if (confirm->tpdu_size >= wire::kSmallestTpdu) size = std::min(size, confirm->tpdu_size);
  tpdu_ = std::size_t{1} << size;
}

void Connection::set_up() {
  open_ = true;
  const auto jobs = static_cast<std::uint16_t>(std::clamp<std::size_t>(options_.jobs, 1, 255));
  const auto pdu =
      static_cast<std::uint16_t>(std::clamp<std::size_t>(options_.pdu, kSmallestPdu, 8192));
  begin();
  time_out_ = options_.connect_time_out;
  const wire::Job job = wire::SetUp{jobs, jobs, pdu};
  submit(job, 0, wire::Function::kSetUp);
  const wire::Body body = exchange();
  if (const auto* refusal = std::get_if<wire::Refusal>(&body)) throw Error(Refused{refusal->error});
  const auto& set_up = std::get<wire::SetUp>(std::get<wire::Answer>(body));
  if (set_up.pdu < kSmallestPdu) fail_senseless("a PDU too small for any job");
  granted_.pdu = std::min(set_up.pdu, pdu);
  granted_.calling_jobs = std::clamp<std::size_t>(set_up.calling_jobs, 1, jobs);
  granted_.called_jobs = std::min<std::size_t>(set_up.called_jobs, jobs);
}

void Connection::close() {
  open_ = false;
  in_flight_.clear();
  outgoing_.clear();
  tcp_.Close();
}

bool Connection::is_open() {
  if (open_ && tcp_.State() != kTcpConnected) close();
  return open_;
}

void Connection::fail(Failure failure) {
  close();
  throw Error(std::move(failure));
}

void Connection::fail_senseless(std::string what, std::string_view bytes) {
  // The bytes may lie in the framer, whose content outlives the closing.
  fail(SenselessAnswer{std::move(what), std::string(bytes)});
}

void Connection::require_open() const {
  if (!open_) throw Error(NoConnection{Step::kTcp, Reason::kNotConnected});
}

// The start of a job. What an earlier one left in flight is answered to nobody.
void Connection::begin() {
  require_open();
  in_flight_.clear();
  outgoing_.clear();
  takes_jobs_ = false;
  time_out_ = options_.time_out;
}

template <typename Content>
void Connection::submit(const Content& content, std::size_t index,
                        std::variant<wire::Function, wire::UserFunction> expected) {
  if (++last_reference_ == 0) ++last_reference_;  // 0 is the PLC's for its own messages
  message_.clear();
  wire::build(last_reference_, content, message_);
  wire::append_telegrams(message_, tpdu_, outgoing_);
  in_flight_.push_back({last_reference_, index, expected});
}

template void Connection::submit(const wire::Job&, std::size_t,
                                 std::variant<wire::Function, wire::UserFunction>);

// Everything that waits to be sent, as one.
void Connection::flush() {
  if (outgoing_.empty()) return;
  try {
    tcp_.SendData(outgoing_);
  } catch (const RuntimeError&) {
    fail(ClosedByPlc{});
  }
  outgoing_.clear();
  progress();
}

wire::Body Connection::exchange() {
  flush();
  return wait().body;
}

wire::Userdata Connection::ask(const wire::Userdata& request) {
  begin();
  submit(request, 0, request.function);
  wire::Body body = exchange();
  if (const auto* refusal = std::get_if<wire::Refusal>(&body)) throw Error(Refused{refusal->error});
  auto& answer = std::get<wire::Userdata>(body);
  if (!answer.progress) fail_senseless("userdata without the fields of an answer");
  if (answer.progress->error) throw Error(Refused{answer.progress->error});
  return std::move(answer);
}

std::pair<std::uint16_t, wire::Job> Connection::wait_for_job() {
  require_open();
  takes_jobs_ = true;
  Arrival arrival = wait();
  auto* const job = std::get_if<wire::Job>(&arrival.body);
  if (job == nullptr) fail_senseless("an answer in place of a job");
  return {static_cast<std::uint16_t>(arrival.index), std::move(*job)};
}

void Connection::answer(std::uint16_t reference, const wire::Answer& answer) {
  message_.clear();
  wire::build(reference, answer, message_);
  wire::append_telegrams(message_, tpdu_, outgoing_);
  flush();
}

Connection::Arrival Connection::wait() {
  for (;;) {
    if (std::optional<Arrival> arrival = take()) return std::move(*arrival);
    await_bytes();
  }
}

// The next arrival of what has been received, or nothing.
std::optional<Connection::Arrival> Connection::take() {
  while (const std::optional<wire::Framer::Next> next = framer_.next()) {
    if (const auto* fault = std::get_if<wire::Fault>(&*next)) {
      fail_senseless(fault->what, framer_.rest());
    }
    if (const auto* unit = std::get_if<wire::Unit>(&*next)) {
      if (std::holds_alternative<wire::DisconnectRequest>(*unit)) fail(ClosedByPlc{});
      ++strays_.messages;
      continue;
    }
    // Some partners acknowledge by an empty message.
    const auto message = std::get<std::string_view>(*next);
    if (message.empty()) continue;
    if (std::optional<Arrival> arrival = sort_out(message)) {
      progress();
      return arrival;
    }
  }
  return {};
}

// What a message is: an answer to a job in flight, an awaited job, or neither.
std::optional<Connection::Arrival> Connection::sort_out(std::string_view message) {
  const wire::Parsed<wire::Header> header = wire::parse_header(message);
  if (!header) fail_senseless(header.fault().what, message);
  if (header->type != wire::MessageType::kJob) return match(*header, message);
  if (!takes_jobs_) {
    ++strays_.jobs;
    return {};
  }
  wire::Parsed<wire::Message> parsed = wire::parse(message);
  if (!parsed) fail_senseless(parsed.fault().what, message);
  return Arrival{header->reference, std::move(parsed->body)};
}

std::optional<Connection::Arrival> Connection::match(const wire::Header& header,
                                                     std::string_view message) {
  const auto found = std::find_if(in_flight_.begin(), in_flight_.end(), [&](const InFlight& job) {
    return job.reference == header.reference;
  });
  const bool is_userdata = header.type == wire::MessageType::kUserdata;
  if (found == in_flight_.end()) {
    ++(is_userdata ? strays_.messages : strays_.answers);
    return {};
  }
  wire::Parsed<wire::Message> parsed = wire::parse(message);
  if (!parsed) fail_senseless(parsed.fault().what, message);
  bool expected = std::holds_alternative<wire::Refusal>(parsed->body);
  if (const auto* answer = std::get_if<wire::Answer>(&parsed->body)) {
    const auto* function = std::get_if<wire::Function>(&found->expected);
    expected = function != nullptr && *function == wire::function_of(*answer);
  } else if (const auto* userdata = std::get_if<wire::Userdata>(&parsed->body)) {
    if (userdata->kind != wire::Userdata::Kind::kAnswer) {
      ++strays_.messages;
      return {};
    }
    const auto* function = std::get_if<wire::UserFunction>(&found->expected);
    expected = function != nullptr && *function == userdata->function;
  }
  if (!expected) fail_senseless("an answer of another function than its job", message);
  const std::size_t index = found->index;
  in_flight_.erase(found);
  return Arrival{index, std::move(parsed->body)};
}

// Takes what has arrived. Bytes are progress as long as they may be part of an answer; more than
// that, with no answer among them, are not.
bool Connection::look() {
  if (tcp_.BytesReceived() <= 0) return false;
  const std::string bytes = tcp_.GetData();
  if (unproven_ <= std::max(options_.pdu, kLongestMessage)) {
    progress_at_ = environment_.tick_count();
    unproven_ += bytes.size();
  }
  framer_.feed(bytes);
  return true;
}

void Connection::await_bytes() {
  std::uint32_t patience = remaining();
  while (!look()) {
    if (tcp_.State() != kTcpConnected && tcp_.BytesReceived() <= 0) fail(ClosedByPlc{});
    pass_slice(patience);
    patience = remaining();
  }
}

// How long to wait for progress yet, in milliseconds; throws when it is time to give up.
std::uint32_t Connection::remaining() {
  if (options_.cancelled && options_.cancelled()) fail(Cancelled{});
  const auto limit = static_cast<std::uint32_t>(std::max<milliseconds::rep>(time_out_.count(), 0));
  const std::uint32_t passed = environment_.tick_count() - progress_at_;
  if (passed >= limit) fail(NoAnswer{passed});
  return limit - passed;
}

void Connection::pass_slice(std::uint32_t most) {
  environment_.wait_for_input(std::min(kSlice, most));
  environment_.process_messages();
}

void Connection::progress() {
  progress_at_ = environment_.tick_count();
  unproven_ = 0;
}

}  // namespace plexum::client
