#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "base/host_environment.h"
#include "base/tcp_client.h"
#include "client/error.h"
#include "client/granted.h"
#include "client/options.h"
#include "client/wire/framer.h"
#include "client/wire/message.h"

namespace plexum::client {

// One connection to a PLC: set up, with its window of jobs in flight. What the client's jobs are
// made of.
//
// A failure that isn't a refusal closes the connection before it is thrown.
class Connection {
 public:
  // An answer to a job in flight: that job's index, and an Answer, a Refusal or Userdata. Or a job
  // of the PLC's own: its reference, and a Job.
  struct Arrival {
    std::size_t index = 0;
    wire::Body body;
  };

  // All must outlive the connection.
  Connection(HostEnvironment& environment, TcpClient& tcp, const Options& options);

  void open(const Endpoint& endpoint);
  void close();
  bool is_open();
  // Throws where there is no connection.
  void require_open() const;
  [[nodiscard]] const Granted& granted() const { return granted_; }
  [[nodiscard]] const Strays& strays() const { return strays_; }

  // One job, and its answer. Throws Refused.
  template <typename AnswerType>
  AnswerType ask(const wire::Job& job);
  wire::Userdata ask(const wire::Userdata& request);

  // Runs `count` jobs, as many in flight as the PLC granted: job_at(i) gives each, in order, and
  // take(i, body) takes its Answer or Refusal, in the order of arrival.
  template <typename JobAt, typename Take>
  void run(std::size_t count, JobAt job_at, Take take);

  // The next job of the PLC's own, while a job of the client makes it send some.
  std::pair<std::uint16_t, wire::Job> wait_for_job();
  void answer(std::uint16_t reference, const wire::Answer& answer);

  // Closes the connection and throws.
  [[noreturn]] void fail(Failure failure);
  [[noreturn]] void fail_senseless(std::string what, std::string_view bytes = {});

 private:
  struct InFlight {
    std::uint16_t reference;
    std::size_t index;
    std::variant<wire::Function, wire::UserFunction> expected;
  };

  void connect_tcp(const Endpoint& endpoint);
  void connect_transport(const Endpoint& endpoint);
  void set_up();

  void begin();
  template <typename Content>
  void submit(const Content& content, std::size_t index,
              std::variant<wire::Function, wire::UserFunction> expected);
  void flush();
  wire::Body exchange();
  Arrival wait();
  std::optional<Arrival> take();
  std::optional<Arrival> sort_out(std::string_view message);
  std::optional<Arrival> match(const wire::Header& header, std::string_view message);

  bool look();
  void await_bytes();
  std::uint32_t remaining();
  void pass_slice(std::uint32_t most);
  void progress();

  HostEnvironment& environment_;
  TcpClient& tcp_;
  const Options& options_;

  bool open_ = false;
  Granted granted_;
  Strays strays_;
  std::size_t tpdu_ = 0;  // bytes of a transport unit
  wire::Framer framer_{0};
  std::uint16_t last_reference_ = 0;
  std::vector<InFlight> in_flight_;
  std::string message_;   // scratch
  std::string outgoing_;  // telegrams to be sent together
  bool takes_jobs_ = false;

  std::chrono::milliseconds time_out_{};  // of the step at work
  std::uint32_t progress_at_ = 0;         // ticks
  std::size_t unproven_ = 0;              // bytes since the last answer
};

template <typename AnswerType>
AnswerType Connection::ask(const wire::Job& job) {
  begin();
  submit(job, 0, wire::function_of(job));
  wire::Body body = exchange();
  if (const auto* refusal = std::get_if<wire::Refusal>(&body)) throw Error(Refused{refusal->error});
  auto* const answer = std::get_if<wire::Answer>(&body);
  auto* const wanted = answer == nullptr ? nullptr : std::get_if<AnswerType>(answer);
  if (wanted == nullptr) fail_senseless("an answer of another kind");
  return std::move(*wanted);
}

template <typename JobAt, typename Take>
void Connection::run(std::size_t count, JobAt job_at, Take take_body) {
  begin();
  std::size_t sent = 0;
  std::size_t answered = 0;
  while (answered < count) {
    for (; sent < count && in_flight_.size() < granted_.calling_jobs; ++sent) {
      const wire::Job job = job_at(sent);
      submit(job, sent, wire::function_of(job));
    }
    flush();
    std::optional<Arrival> arrival = wait();
    for (; arrival; arrival = take()) {
      take_body(arrival->index, arrival->body);
      ++answered;
    }
  }
}

}  // namespace plexum::client
