#include "protocol/request_cycle.h"

#include "base/integers.h"
#include "protocol/connection.h"
#include "protocol/telegram.h"

namespace plexum {

bool RequestCycle::connected() { return tcp_client.State() == kTcpConnected; }

bool RequestCycle::connect_on_demand() {
  if (s7init) return true;
  // Copies: the host may set the properties while ag_ini waits.
  const LinkProperties settings = properties;
  ag_ini(*this, settings.CP_IP, "102", settings.TsapE, settings.TsapF);
  // Not ag_ini's result: its second time-out leaves err at 0, and the job goes on.
  return err == 0;
}

bool RequestCycle::ready() {
  if (!connected()) err = 4;
  return err == 0;
}

bool RequestCycle::guard() {
  if (!connect_on_demand()) return false;
  if (!ready()) {
    drop_connection_state();
    return false;
  }
  return true;
}

bool RequestCycle::guard_and_begin() {
  if (!connect_on_demand()) return false;
  auftrag_Fehler = 0;
  if (!ready()) {
    drop_connection_state();
    return false;
  }
  inuse = true;
  return true;
}

void RequestCycle::drop_connection_state() {
  inuse = false;
  s7init = false;
}

void RequestCycle::send_if_connected(const std::string& telegram) {
  if (connected()) tcp_client.SendData(telegram);
}

void RequestCycle::MsgWait(std::int32_t ms) {
  // A negative time would be an endless wait to most window systems; it is none here, so that no
  // argument hangs the host, and like any wait of no length it processes no messages.
  const std::uint32_t start = environment.tick_count();
  environment.wait_for_input(ms > 0 ? static_cast<std::uint32_t>(ms) : 0);
  const std::uint32_t elapsed = environment.tick_count() - start;
  if (static_cast<std::int32_t>(elapsed) < ms) environment.process_messages();
}

bool RequestCycle::wait_until(const std::function<bool()>& done, WaitLimit limit) {
  for (std::int64_t slices = 1;; ++slices) {
    if (done()) return true;
    MsgWait(1);
    // Read anew in every slice: the host may change it while it waits.
    if (slices > limit.factor * properties.Tzeit + limit.extra) return false;
  }
}

bool RequestCycle::wait_for_bytes(double wanted, WaitLimit limit) {
  return wait_until([&] { return tcp_client.BytesReceived() >= wanted; }, limit);
}

std::string RequestCycle::take_or_nothing() {
  return connected() ? tcp_client.GetData() : std::string();
}

void RequestCycle::take_or_keep(std::string& answer) {
  if (connected()) answer = tcp_client.GetData();
}

std::int32_t RequestCycle::err_of_fragment(std::string& fragment) {
  if (!connected()) return 3;
  fragment = tcp_client.GetData();
  const std::int32_t number = error_number(fragment);
  return number != 0 ? number : 3;
}

std::string RequestCycle::end_after_timeout() {
  status_text = "Read Exit";
  std::string fragment;
  err = err_of_fragment(fragment);
  environment.process_messages();
  drop_connection_state();
  return fragment;
}

void RequestCycle::end_transfer_after_timeout() {
  status_text = "Read Exit";
  // A fragment without an error leaves err at 0: only s7init then tells of the time-out.
  err = connected() ? error_number(tcp_client.GetData()) : 3;
  environment.process_messages();
  drop_connection_state();
}

std::optional<std::string> RequestCycle::control_job(const std::string& telegram,
                                                     const char* waiting_text,
                                                     double answer_length) {
  if (!guard()) return std::nullopt;
  inuse = true;
  status_text = "Wreit Send Data";
  send_if_connected(telegram);
  status_text = waiting_text;
  std::string answer;
  if (!wait_for_bytes(answer_length)) answer = end_after_timeout();
  // After a time-out this is a second take, of what has come in the meantime: as a rule nothing.
  take_or_keep(answer);
  status_text = "Send/Receive Ready";
  inuse = false;
  return answer;
}

std::string RequestCycle::exchange_with_repeats(const std::function<std::string()>& telegram,
                                                double answer_length) {
  constexpr std::size_t kUsableLength = 25;
  std::string answer;
  do {
    send_if_connected(telegram());
    status_text = "Read Wait Data";
    if (!wait_for_bytes(answer_length)) {
      status_text = "Read Exit";
      take_or_keep(answer);
      err = 3;
      environment.process_messages();
      // The next attempt goes on with inuse and s7init false, on the connection as it is.
      drop_connection_state();
    }
    // After a time-out this replaces what was taken there, as a rule by nothing.
    take_or_keep(answer);
    status_text = "Send/Receive Ready";
    if (answer.size() >= kUsableLength) break;
    auftrag_Fehler = to_int16(auftrag_Fehler + 1.0);
  } while (auftrag_Fehler < 3);
  return answer;
}

}  // namespace plexum
