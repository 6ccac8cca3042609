#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "base/host_environment.h"
#include "base/tcp_client.h"

namespace plexum {

// The four properties of the control, with the values of a new one.
struct LinkProperties {
  std::string CP_IP = "0.0.0.0";
  std::string TsapE = "0";
  std::string TsapF = "0";
  std::int32_t Tzeit = 100;
};

// How many wait slices a wait may last: factor * Tzeit + extra. A wait gives up in the slice after
// that number; a limit of 0 or less allows one slice.
struct WaitLimit {
  std::int64_t factor = 1;
  std::int64_t extra = 0;
};

// The state of one connection, and the pieces that every job composes its request cycle of:
// connect, guard, send, wait, take, and the ending of a time-out. Each job keeps its own telegram,
// texts, limits and departures, so nothing here knows which job it serves.
//
// Every wait processes the host's messages: the host may read and change all of the state in the
// middle of a job, and start another job. No piece holds on to anything of it across a wait.
class RequestCycle {
 public:
  // Both must outlive the cycle.
  RequestCycle(HostEnvironment& host_environment, TcpClient& client)
      : environment(host_environment), tcp_client(client) {}
  RequestCycle(const RequestCycle&) = delete;
  RequestCycle& operator=(const RequestCycle&) = delete;

  HostEnvironment& environment;
  TcpClient& tcp_client;

  // -- the state variables, as hosts know them

  std::int32_t err = 0;
  bool inuse = false;
  bool s7init = false;
  std::int16_t auftrag_Fehler = 0;

  LinkProperties properties;

  // The name of the current step, which the face shows, and the number of the TCP client's state
  // after the last attempt to connect.
  std::string status_text;
  std::string state_label = "0";

  // The fixed head of a read request; empty until ag_ini has run once.
  std::string readhead;

  // -- numbers in texts, by the host's locale

  double number(const std::string& text) { return environment.number_from_text(text); }
  std::string text(double number) { return environment.text_from_number(number); }

  // -- guards

  // Connects if s7init is false. False: err tells why, the job ends with its empty result.
  bool connect_on_demand();
  // Whether the TCP client is connected.
  bool connected();
  // err becomes 4 while not connected. False: err, also one that an earlier job left, forbids to
  // send.
  bool ready();
  // The guard of the writes and services: connects on demand, and drops the connection's state when
  // it refuses.
  bool guard();
  // The guard of the block and clock jobs. It sets auftrag_Fehler to 0 besides, and inuse when it
  // lets the job pass.
  bool guard_and_begin();
  // The refusal and the end of a time-out: no job is in progress, and the next job reconnects.
  void drop_connection_state();

  // -- sending, waiting, taking

  void send_if_connected(const std::string& telegram);
  // Waits once, up to `ms` milliseconds, until a message arrives for this thread, and processes
  // what is pending if one came.
  void MsgWait(std::int32_t ms);
  // Waits in slices of MsgWait(1) until `done`. False: the limit ran out.
  bool wait_until(const std::function<bool()>& done, WaitLimit limit = {});
  // Waits until `wanted` bytes have arrived and are not taken yet. A double, because a host may ask
  // ag_ReadB for half a byte: it then waits for the whole one.
  bool wait_for_bytes(double wanted, WaitLimit limit = {});
  // Everything that has arrived; an empty string while not connected.
  std::string take_or_nothing();
  // Everything that has arrived, in place of `answer`, which stays as it is while not connected.
  void take_or_keep(std::string& answer);

  // -- time-outs

  // Takes the `fragment` of an answer. The err of the time-out: the fragment's error_number, or 3.
  std::int32_t err_of_fragment(std::string& fragment);
  // The common ending of a time-out. The fragment that had arrived, for jobs that evaluate an
  // answer all the same.
  std::string end_after_timeout();
  // The ending of a time-out in an upload or download, whose err may be 0.
  void end_transfer_after_timeout();

  // -- whole exchanges

  // The cycle of the services and state lists. The answer, after a time-out usually an empty one;
  // nothing when the guard refused.
  std::optional<std::string> control_job(const std::string& telegram, const char* waiting_text,
                                         double answer_length);
  // The exchange of the clock and list jobs: up to three attempts, counted in auftrag_Fehler, until
  // an answer of 25 bytes or more comes. `telegram` is made anew for each.
  std::string exchange_with_repeats(const std::function<std::string()>& telegram,
                                    double answer_length);
};

}  // namespace plexum
