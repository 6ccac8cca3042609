#include "protocol/connection.h"

#include <cmath>

#include "base/integers.h"
#include "base/runtime_error.h"
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

// 12 becomes 0x12: the decimal digits of a number up to 99 are read as hexadecimal ones. Larger
// numbers go on by the same rule.
std::int16_t tsap_byte(const std::string& part, HostEnvironment& environment) {
  const double number = environment.number_from_text(part);
  return to_int16(to_int16(number) + 6 * std::floor(number / 10));
}

struct Tsap {
  std::int16_t first, second;
};

// A TSAP text "a.b".
Tsap tsap_from_text(const std::string& text, HostEnvironment& environment) {
  const std::size_t point = text.find('.');
  if (point == std::string::npos) throw RuntimeError(kInvalidArgument);
  const std::int16_t first = tsap_byte(text.substr(0, point), environment);
  return {first, tsap_byte(text.substr(point + 1), environment)};
}

std::string bytes_of(Tsap tsap) {
  return {byte_from_code(tsap.first), byte_from_code(tsap.second)};
}

}  // namespace

bool ag_ini(RequestCycle& cycle, const std::string& TCPIPRemote, const std::string& PortRemote,
            const std::string& TsapE, const std::string& TsapF) {
  cycle.err = 0;
  cycle.readhead = to_string(kReadHead);
  const std::int16_t state = cycle.tcp_client.State();
  if (state == kTcpError || state == kTcpPeerClosing || state == kTcpConnected) {
    cycle.tcp_client.Close();
    cycle.environment.process_messages();
  }
  // In any other state a connection is under way, and the wait is for that one.
  if (cycle.tcp_client.State() <= kTcpClosed) {
    cycle.tcp_client.RemoteHost(TCPIPRemote);
    cycle.tcp_client.RemotePort(to_int32(cycle.number(PortRemote)));
    cycle.tcp_client.Connect();
  }
  if (!cycle.wait_until([&cycle] { return cycle.connected(); })) {
    cycle.err = 1;
    cycle.s7init = false;
  }
  cycle.state_label = std::to_string(cycle.tcp_client.State());
  if (cycle.err != 0) return false;

  cycle.status_text = "Connect Send Data";
  // Both texts are read before a byte is made of either: a text that is no number is the error that
  // the host gets, also where the other one is too large.
  const Tsap called = tsap_from_text(TsapF, cycle.environment);
  const Tsap calling = tsap_from_text(TsapE, cycle.environment);
  std::string request = to_string(kConnectionRequest);
  request.replace(kCalledTsap, 2, bytes_of(called));
  request.replace(kCallingTsap, 2, bytes_of(calling));
  // Sent in any state: a connection lost in the meantime is the TCP client's error.
  cycle.tcp_client.SendData(request);
  cycle.status_text = "Connect Wait Data";
  if (!cycle.wait_for_bytes(kConnectionConfirmLength)) {
    cycle.status_text = "INI Exit";
    cycle.take_or_nothing();
    cycle.err = 3;
    cycle.drop_connection_state();
  }
  if (cycle.err != 0) return false;
  cycle.take_or_nothing();  // any 22 bytes are a confirm

  cycle.status_text = "PDU Send Data";
  cycle.send_if_connected(to_string(kSetupCommunication));
  cycle.status_text = "INI Wait Data";
  if (!cycle.wait_for_bytes(kSetupAnswerLength)) {
    // Unlike the time-out before, this one leaves err at 0 and takes nothing: a job that called
    // goes on with what is there.
    cycle.s7init = false;
    return false;
  }
  cycle
      .take_or_nothing();  // the granted PDU size is not kept: jobs size their telegrams themselves
  cycle.status_text = "Send/Receive Ready";
  cycle.s7init = true;
  return true;
}

bool ag_exit(RequestCycle& cycle) {
  cycle.status_text = "TCP Not Ready";
  cycle.environment.process_messages();
  cycle.tcp_client.Close();
  return true;
}

}  // namespace plexum
