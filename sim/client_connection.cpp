#include "sim/client_connection.h"

#include <algorithm>
#include <utility>

#include "sim/program.h"
#include "sim/services.h"
#include "sim/variables.h"

namespace plexum::sim {
namespace {

// A refusal in the form that the message's type asks for.
Message refuse(const Message& message, Error error) {
  return message.type == MessageType::kUserdata ? Userdata::refuse(message, error)
                                                : refusal(message, error);
}

}  // namespace

Outputs ClientConnection::accepted() {
  // A PLC sends nothing when it accepts a connection, but faults strike telegrams. So they get one
  // byte to strike; it is never sent.
  const Outputs struck =
      plc_.faults.strike(Fault::Step::kAccept, {{}, Bytes(1), Output::End::kNone});
  if (struck.empty()) {
    state_ = State::kMute;
  } else if (struck.front().end != Output::End::kNone) {
    state_ = State::kOver;
    return {{{}, {}, struck.front().end}};
  }
  return {};
}

Outputs ClientConnection::receive(ByteView bytes, TimePoint now) {
  if (state_ == State::kOver || state_ == State::kMute) return {};
  now_ = now;
  while (!in_flight_.empty() && in_flight_.front() <= now) in_flight_.pop_front();
  if (plc_.options.runs_program) run_program(plc_);
  framing_.feed(bytes);
  try {
    while (state_ != State::kOver) {
      const std::optional<TransportUnit> unit = framing_.next();
      if (!unit) break;
      handle(*unit);
    }
  } catch (const Malformed&) {
    outputs_.push_back({{}, {}, Output::End::kClose});
    state_ = State::kOver;
  }
  return std::exchange(outputs_, {});
}

void ClientConnection::handle(const TransportUnit& unit) {
  switch (unit.kind) {
    case TransportUnit::Kind::kConnectionRequest:
      connect(unit);
      break;
    case TransportUnit::Kind::kDisconnectRequest:
      outputs_.push_back({{}, {}, Output::End::kClose});
      state_ = State::kOver;
      break;
    case TransportUnit::Kind::kData:
      if (state_ == State::kNew) throw Malformed("data before the connection request");
      handle_message(parse_message(unit.content));
      break;
  }
}

void ClientConnection::connect(const TransportUnit& unit) {
  if (state_ != State::kNew) throw Malformed("second connection request");
  const ConnectionRequest request = parse_connection_request(unit.content);
  state_ = State::kConnected;
  send(Fault::Step::kConfirm, {{}, connection_confirm(request)});
}

void ClientConnection::handle_message(const Message& message) {
  if (message.type == MessageType::kAck || message.type == MessageType::kAckData) {
    if (const auto job = download_.take_answer(message, pdu_)) send(Fault::Step::kJob, *job);
    return;
  }

  const bool setup = message.type == MessageType::kJob && !message.parameter.empty() &&
                     message.function() == Function::kSetupCommunication;
  const Fault::Step step = setup ? Fault::Step::kSetup : Fault::Step::kJob;
  const Error scripted = plc_.faults.refuses_next(step);
  const bool accepted = setup || takes_another_job();
  Reply reply;
  if (scripted != Error::kNone) {
    reply.answer = refuse(message, scripted);
  } else if (!accepted) {
    reply.answer = refuse(message, Error::kTooFewResources);
  } else {
    reply = reply_to(message);
  }
  if (reply.answer) {
    send(step, *reply.answer);
    if (accepted) in_flight_.push_back(last_leaves_);
  }
  if (reply.own_job) send(Fault::Step::kJob, *reply.own_job, plc_.options.download_pause);
}

// A client that has more jobs in flight than were granted gets the jobs beyond refused. What CPUs
// do isn't known from recorded dialogues. A refusal shows the client's fault at once, where a
// dropped job would look like a lost answer.
bool ClientConnection::takes_another_job() const {
  return state_ != State::kSetUp || in_flight_.size() < std::max<std::size_t>(jobs_, 1);
}

ClientConnection::Reply ClientConnection::reply_to(const Message& message) {
  try {
    if (message.type == MessageType::kUserdata) {
      if (state_ != State::kSetUp) throw Refusal{Error::kWrongSequence};
      return {userdata_.answer(message, pdu_), {}};
    }
    return reply_to_job(message);
  } catch (const Refusal& refused) {
    return {refuse(message, refused.error), {}};
  } catch (const Malformed&) {
    // The message is complete, but its content contradicts itself.
    return {refusal(message, Error::kWrongFrame), {}};
  }
}

Message ClientConnection::answer_setup(const Message& job) {
  Reader reader(job.parameter);
  reader.take(2);  // the function, reserved
  const std::uint16_t calling_jobs = std::min(reader.u16(), plc_.options.jobs);
  const std::uint16_t called_jobs = std::min(reader.u16(), plc_.options.jobs);
  const std::uint16_t pdu = std::min(reader.u16(), plc_.options.pdu);
  if (reader.left() != 0 || pdu < Options::kSmallestPdu) throw Malformed("setup communication");
  pdu_ = pdu;
  jobs_ = calling_jobs;
  state_ = State::kSetUp;
  return ack_data(job, Writer()
                           .u8(static_cast<std::size_t>(Function::kSetupCommunication))
                           .u8(0)
                           .u16(calling_jobs)
                           .u16(called_jobs)
                           .u16(pdu)
                           .take());
}

ClientConnection::Reply ClientConnection::reply_to_job(const Message& job) {
  const Function function = job.function();
  if (function == Function::kSetupCommunication) return {answer_setup(job), {}};
  if (state_ != State::kSetUp) throw Refusal{Error::kWrongSequence};
  if (job.size() > pdu_) throw Refusal{Error::kWrongFrame};
  switch (function) {
    case Function::kReadVariable:
      return {read_variables(plc_.memory, job, pdu_), {}};
    case Function::kWriteVariable:
      return {write_variables(plc_.memory, job, plc_.options.write_protected), {}};
    case Function::kRequestDownload: {
      Download::Begun begun = download_.request(job);
      return {std::move(begun.acknowledgement), std::move(begun.job)};
    }
    case Function::kStartUpload:
      return {uploads_.start(job), {}};
    case Function::kUpload:
      return {uploads_.next_part(job, pdu_), {}};
    case Function::kEndUpload:
      return {uploads_.end(job), {}};
    case Function::kProgramInvocation:
      return {invoke_program(plc_, job), {}};
    case Function::kStop:
      return {stop_program(plc_, job), {}};
    default:
      throw Refusal{Error::kUnknownService};
  }
}

void ClientConnection::send(Fault::Step step, const Message& message,
                            std::chrono::milliseconds delay) {
  send(step,
       {delay, wrap_message(build_message(message)), Output::End::kNone, plc_.options.latency});
}

void ClientConnection::send(Fault::Step step, Output output) {
  if (state_ == State::kOver) return;
  for (Output& struck : plc_.faults.strike(step, std::move(output))) {
    if (state_ == State::kOver) return;
    if (struck.end != Output::End::kNone) state_ = State::kOver;
    last_leaves_ = std::max(last_leaves_, now_ + struck.latency) + struck.delay;
    outputs_.push_back(std::move(struck));
  }
}

}  // namespace plexum::sim
