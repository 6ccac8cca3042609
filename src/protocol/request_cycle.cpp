// The pieces that every job composes its request cycle of: connect, guard, send, wait, take, and
// the ending of a time-out. Each job keeps its own telegram, texts, limits and departures.

#include "base/integers.h"
#include "control/plexum_link.h"
#include "protocol/telegram.h"

namespace plexum {

bool PlexumLink::connected() { return tcp_client_.State() == kTcpConnected; }

bool PlexumLink::connect_on_demand() {
  if (s7init_) return true;
  // Copies: the host may set the properties while ag_ini waits.
  const std::string address = CP_IP();
  const std::string calling = TsapE();
  const std::string called = TsapF();
  ag_ini(address, "102", calling, called);
  // Not ag_ini's result: its second time-out leaves err at 0, and the job goes on.
  return err_ == 0;
}

bool PlexumLink::ready() {
  if (!connected()) err_ = 4;
  return err_ == 0;
}

bool PlexumLink::guard() {
  if (!connect_on_demand()) return false;
  if (!ready()) {
    drop_connection_state();
    return false;
  }
  return true;
}

bool PlexumLink::guard_and_begin() {
  if (!connect_on_demand()) return false;
  auftrag_Fehler_ = 0;
  if (!ready()) {
    drop_connection_state();
    return false;
  }
  inuse_ = true;
  return true;
}

void PlexumLink::drop_connection_state() {
  inuse_ = false;
  s7init_ = false;
}

void PlexumLink::send_if_connected(const std::string& telegram) {
  if (connected()) tcp_client_.SendData(telegram);
}

bool PlexumLink::wait_until(const std::function<bool()>& done, WaitLimit limit) {
  for (std::int64_t slices = 1;; ++slices) {
    if (done()) return true;
    MsgWait(1);
    // Read anew in every slice: the host may change it while it waits.
    if (slices > limit.factor * Tzeit() + limit.extra) return false;
  }
}

bool PlexumLink::wait_for_bytes(double wanted, WaitLimit limit) {
  return wait_until([&] { return tcp_client_.BytesReceived() >= wanted; }, limit);
}

std::string PlexumLink::take_if_connected() {
  return connected() ? tcp_client_.GetData() : std::string();
}

void PlexumLink::take_if_connected(std::string& answer) {
  if (connected()) answer = tcp_client_.GetData();
}

std::int32_t PlexumLink::err_of_fragment(std::string& fragment) {
  if (!connected()) return 3;
  fragment = tcp_client_.GetData();
  const std::int32_t number = error_number(fragment);
  return number != 0 ? number : 3;
}

std::string PlexumLink::end_after_timeout() {
  status_text_ = "Read Exit";
  std::string fragment;
  err_ = err_of_fragment(fragment);
  environment_.process_messages();
  drop_connection_state();
  return fragment;
}

void PlexumLink::end_transfer_after_timeout() {
  status_text_ = "Read Exit";
  // A fragment without an error leaves err at 0: only s7init then tells of the time-out.
  err_ = connected() ? error_number(tcp_client_.GetData()) : 3;
  environment_.process_messages();
  drop_connection_state();
}

std::optional<std::string> PlexumLink::control_job(const std::string& telegram,
                                                   const char* waiting_text, double answer_length) {
  if (!guard()) return std::nullopt;
  inuse_ = true;
  status_text_ = "Wreit Send Data";
  send_if_connected(telegram);
  status_text_ = waiting_text;
  std::string answer;
  if (!wait_for_bytes(answer_length)) answer = end_after_timeout();
  // After a time-out this is a second take, of what has come in the meantime: as a rule nothing.
  take_if_connected(answer);
  status_text_ = "Send/Receive Ready";
  inuse_ = false;
  return answer;
}

std::string PlexumLink::exchange_with_repeats(const std::function<std::string()>& telegram,
                                              double answer_length) {
  constexpr std::size_t kUsableLength = 25;
  std::string answer;
  do {
    send_if_connected(telegram());
    status_text_ = "Read Wait Data";
    if (!wait_for_bytes(answer_length)) {
      status_text_ = "Read Exit";
      take_if_connected(answer);
      err_ = 3;
      environment_.process_messages();
      drop_connection_state();
    }
    // After a time-out this replaces what was taken there, as a rule by nothing.
    take_if_connected(answer);
    status_text_ = "Send/Receive Ready";
    if (answer.size() >= kUsableLength) break;
    auftrag_Fehler_ = to_integer(auftrag_Fehler_ + 1.0);
  } while (auftrag_Fehler_ < 3);
  return answer;
}

}  // namespace plexum
