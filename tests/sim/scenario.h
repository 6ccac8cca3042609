#pragma once

#include <gtest/gtest.h>

#include <span>
#include <string>

#include "sim/plc_connection.h"
#include "tests/sim/hex.h"

namespace plexum::sim {

// TPKT length | COTP: 17, CR, references 0000 and 002E, class 0 | called | calling | TPDU size
inline constexpr std::string_view kConnectionRequest =
    "03 00 00 16 | 11 E0 00 00 00 2E 00 | C2 02 03 02 | C1 02 01 00 | C0 01 09";
inline constexpr std::string_view kConnectionConfirm =
    "03 00 00 16 | 11 D0 00 2E 00 03 00 | C0 01 09 | C1 02 01 00 | C2 02 03 02";
// 3 jobs each way, PDU 960
inline constexpr std::string_view kSetup =
    "03 00 00 19 | 02 F0 80 | 32 01 00 00 FF FF 00 08 00 00 | F0 00 00 03 00 03 03 C0";
// Reads DB 1, bytes 0 to 3: reference 0200, parameter 14, data 0.
inline constexpr std::string_view kRead =
    "03 00 00 1F | 02 F0 80 | 32 01 00 00 02 00 00 0E 00 00 |"
    "04 01 12 0A 10 02 00 04 00 01 84 00 00 00";
inline const std::string kReadAnswer = dump(
    "03 00 00 1D | 02 F0 80 | 32 03 00 00 02 00 00 02 00 08 00 00 |"
    "04 01 | FF 04 00 20 00 01 02 03");

// What a connection gave for some input, as text: each output's bytes, with "+20ms" before what
// comes later and "close" or "reset" behind what ends the connection; outputs parted by " / ".
inline std::string text(const Outputs& outputs) {
  std::string all;
  for (const Output& output : outputs) {
    std::string one;
    if (output.delay.count() > 0) one = "+" + std::to_string(output.delay.count()) + "ms";
    const auto add = [&one](const std::string& more) { one += (one.empty() ? "" : " ") + more; };
    if (!output.bytes.empty()) add(dump(output.bytes));
    if (output.end == Output::End::kClose) add("close");
    if (output.end == Output::End::kReset) add("reset");
    all += (all.empty() ? "" : " / ") + one;
  }
  return all;
}

// What Conversation::job should give: "parameter | data" in any spacing, or "refused ECCC".
inline std::string expected(const std::string& answer) {
  if (answer.starts_with("refused")) return answer;
  const std::size_t bar = answer.find('|');
  return dump(answer.substr(0, bar)) + " | " + dump(answer.substr(bar + 1));
}

struct JobCase {
  const char* name;
  const char* parameter;
  const char* answer;  // as expected() takes it
  const char* data = "";
};

// A PLC with one connection that is set up, ready for jobs.
struct Conversation {
  explicit Conversation(const Options& options = {}) : plc(options), connection(plc) {
    say(kConnectionRequest);
    say(kSetup);
  }

  std::string say(std::string_view telegram) { return text(connection.receive(hex(telegram))); }

  // A job or userdata message in its frame: the lengths are filled in.
  Outputs exchange(MessageType type, std::string_view parameter, std::string_view data = "") {
    return connection.receive(
        wrap_message(build_message({type, 0x0200, Error::kNone, hex(parameter), hex(data)})));
  }

  // What follows the error bytes of a job's answer, its parameter and data; "refused ECCC" for a
  // bare acknowledgement.
  std::string job(std::string_view parameter, std::string_view data = "") {
    return content(exchange(MessageType::kJob, parameter, data));
  }

  // The same for userdata.
  std::string userdata(std::string_view parameter, std::string_view data) {
    return content(exchange(MessageType::kUserdata, parameter, data));
  }

  // Gives the PLC one job after the other.
  void expect_answers(std::span<const JobCase> cases) {
    for (const JobCase& c : cases) {
      EXPECT_EQ(job(c.parameter, c.data), expected(c.answer)) << c.name;
    }
  }

  static std::string content(const Outputs& outputs) {
    if (outputs.size() != 1) return text(outputs);
    constexpr std::size_t kFrame = 7;
    const Message answer = parse_message(ByteView(outputs[0].bytes).subspan(kFrame));
    if (answer.type == MessageType::kAck) {
      return "refused " + dump(Writer().u16(static_cast<std::size_t>(answer.error)).take());
    }
    return dump(answer.parameter) + " | " + dump(answer.data);
  }

  Plc plc;
  PlcConnection connection;
};

}  // namespace plexum::sim
