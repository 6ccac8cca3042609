// Opening and closing the connection: TCP, the ISO transport connection (RFC 1006 over TCP, ISO
// 8073 class 0) and the S7 communication on top.

#include <cmath>

#include "base/integers.h"
#include "base/runtime_error.h"
#include "control/plexum_link.h"
#include "convert/byte_strings.h"
#include "protocol/telegram.h"

namespace plexum {
namespace {

// COTP connection request: destination and source reference, class 0, the called (C2) and calling
// (C1) TSAP of two bytes each, TPDU size 2^9.
constexpr auto kConnectionRequest =
    "03 00 00 16 | 11 E0 00 00 00 2E 00 | C2 02 00 00 | C1 02 00 00 | C0 01 09"_hex;
constexpr std::size_t kCalledTsap = 13;
constexpr std::size_t kCallingTsap = 17;
static_assert(tpkt_length(kConnectionRequest) == kConnectionRequest.size());
constexpr double kConnectionConfirmLength = 22;

// Setup communication: 3 parallel jobs each way, a PDU of 960 bytes asked for.
constexpr auto kSetupCommunication =
    "03 00 00 19 | 02 F0 80 | 32 01 00 00 FF FF 00 08 00 00 | F0 00 00 03 00 03 03 C0"_hex;
static_assert(tpkt_length(kSetupCommunication) == kSetupCommunication.size());
constexpr double kSetupAnswerLength = 27;

// The head of a read request: one item, S7ANY, transport size BYTE. The reading jobs append 8
// bytes, which its length counts.
constexpr auto kReadHead =
    "03 00 00 1F | 02 F0 80 | 32 01 00 00 02 00 00 0E 00 00 | 04 01 12 0A 10 02"_hex;
static_assert(tpkt_length(kReadHead) == kReadHead.size() + 8);

}  // namespace

// 12 becomes 0x12: the decimal digits of a number up to 99 are read as hexadecimal ones. Larger
// numbers go on by the same rule.
std::int16_t PlexumLink::tsap_byte(const std::string& part) {
  const std::int16_t value = to_integer(number(part));
  return to_integer(value + 6 * std::floor(number(part) / 10));
}

std::string PlexumLink::tsap_bytes(const std::string& tsap) {
  const std::size_t point = tsap.find('.');
  if (point == std::string::npos) throw RuntimeError(kInvalidArgument);
  const std::int16_t first = tsap_byte(tsap.substr(0, point));
  const std::int16_t second = tsap_byte(tsap.substr(point + 1));
  return {byte_from_code(first), byte_from_code(second)};
}

bool PlexumLink::ag_ini(const std::string& TCPIPRemote, const std::string& PortRemote,
                        const std::string& TsapE, const std::string& TsapF) {
  err_ = 0;
  readhead_ = to_string(kReadHead);
  const std::int16_t state = tcp_client_.State();
  if (state == kTcpError || state == kTcpPeerClosing || state == kTcpConnected) {
    tcp_client_.Close();
    environment_.process_messages();
  }
  // In any other state a connection is under way, and the wait is for that one.
  if (tcp_client_.State() <= kTcpClosed) {
    tcp_client_.RemoteHost(TCPIPRemote);
    tcp_client_.RemotePort(to_long(number(PortRemote)));
    tcp_client_.Connect();
  }
  if (!wait_until([this] { return connected(); })) {
    err_ = 1;
    s7init_ = false;
  }
  state_label_ = std::to_string(tcp_client_.State());
  if (err_ != 0) return false;

  status_text_ = "Connect Send Data";
  std::string request = to_string(kConnectionRequest);
  request.replace(kCalledTsap, 2, tsap_bytes(TsapF));
  request.replace(kCallingTsap, 2, tsap_bytes(TsapE));
  // Sent in any state: a connection lost in the meantime is the TCP client's error.
  tcp_client_.SendData(request);
  status_text_ = "Connect Wait Data";
  if (!wait_for_bytes(kConnectionConfirmLength)) {
    status_text_ = "INI Exit";
    take_if_connected();
    err_ = 3;
    drop_connection_state();
  }
  if (err_ != 0) return false;
  take_if_connected();  // any 22 bytes are a confirm

  status_text_ = "PDU Send Data";
  send_if_connected(to_string(kSetupCommunication));
  status_text_ = "INI Wait Data";
  if (!wait_for_bytes(kSetupAnswerLength)) {
    // Unlike the time-out before, this one leaves err at 0 and takes nothing: a job that called
    // goes on with what is there.
    s7init_ = false;
    return false;
  }
  take_if_connected();  // the granted PDU size is not kept: jobs size their telegrams themselves
  status_text_ = "Send/Receive Ready";
  s7init_ = true;
  return true;
}

bool PlexumLink::ag_exit() {
  status_text_ = "TCP Not Ready";
  environment_.process_messages();
  tcp_client_.Close();
  return true;
}

}  // namespace plexum
