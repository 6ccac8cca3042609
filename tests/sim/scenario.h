#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <span>
#include <string>
#include <utility>

#include "sim/client_connection.h"
#include "support/hex.h"

namespace plexum::sim {

// Bytes from hexadecimal digits; blanks and | are for the reader, 'text' stands for its characters.
inline Bytes hex(std::string_view text) {
  const std::string bytes = test::bytes(text);
  return {bytes.begin(), bytes.end()};
}

inline std::string dump(ByteView bytes) { return test::hex({bytes.begin(), bytes.end()}); }
inline std::string dump(std::string_view text) { return dump(ByteView(hex(text))); }

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
// comes later, "~3ms" before what has a latency, and "close" or "reset" behind what ends the
// connection; outputs parted by " / ".
inline std::string text(const Outputs& outputs) {
  constexpr const char* kEnds[] = {"", " close", " reset"};
  std::string all;
  for (const auto& [delay, bytes, end, latency] : outputs) {
    std::string one = latency.count() > 0 ? " ~" + std::to_string(latency.count()) + "ms" : "";
    if (delay.count() > 0) one += " +" + std::to_string(delay.count()) + "ms";
    if (!bytes.empty()) one += " " + dump(bytes);
    one += kEnds[static_cast<int>(end)];
    all += (all.empty() ? "" : " / ") + one.substr(1);
  }
  return all;
}

// The S7 message in a telegram.
inline Message message_in(ByteView telegram) {
  constexpr std::size_t kFrame = 7;
  return parse_message(telegram.subspan(kFrame));
}

// A message that is sent, "parameter | data", and the answer that it must get: "parameter | data"
// in any spacing, "refused EC CC", or its beginning and "..." behind.
struct Exchange {
  const char* name;
  std::string message;
  std::string answer;
};

// A PLC with one connection that is set up, ready for jobs.
struct Conversation {
  explicit Conversation(const Options& options = {}) : plc(options), connection(plc) {
    say(kConnectionRequest);
    say(kSetup);
  }

  std::string say(std::string_view telegram) { return text(connection.receive(hex(telegram))); }

  // Sends a job, or a userdata message if it begins as such. Returns the answer's parameter and
  // data, "04 01 | FF", or "refused EC CC" for a bare acknowledgement.
  std::string ask(const std::string& message) {
    const auto [parameter, data] = parts(message);
    const bool userdata = dump(parameter).starts_with("00 01 12");
    return content(connection.receive(
        wrap_message(build_message({userdata ? MessageType::kUserdata : MessageType::kJob, 0x0200,
                                    Error::kNone, hex(parameter), hex(data)}))));
  }

  // Has one exchange after the other.
  void expect(std::span<const Exchange> exchanges) {
    for (const auto& [name, message, wanted] : exchanges) {
      const std::string answer = ask(message);
      const auto [parameter, data] = parts(wanted);
      const std::string spaced = dump(parameter) + " | " + dump(data);
      if (wanted.starts_with("refused")) {
        EXPECT_EQ(answer, wanted) << name;
      } else if (wanted.ends_with("...")) {
        EXPECT_EQ(answer.substr(0, spaced.size()), spaced) << name;
      } else {
        EXPECT_EQ(answer, spaced) << name;
      }
    }
  }

  static std::pair<std::string, std::string> parts(const std::string& message) {
    const std::size_t bar = std::min(message.find('|'), message.find("..."));
    if (bar >= message.size()) return {message, ""};
    return {message.substr(0, bar), message.substr(bar + 1)};
  }

  static std::string content(const Outputs& outputs) {
    if (outputs.size() != 1) return text(outputs);
    const Message answer = message_in(outputs[0].bytes);
    if (answer.type == MessageType::kAck) {
      return "refused " + dump(Writer().u16(static_cast<std::size_t>(answer.error)).take());
    }
    return dump(answer.parameter) + " | " + dump(answer.data);
  }

  Plc plc;
  ClientConnection connection;
};

}  // namespace plexum::sim
