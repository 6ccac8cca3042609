#include "cli/link/connection_options.h"

#include <charconv>
#include <cmath>

namespace plexum::cli {

std::optional<std::string> tsap_of_text(const std::string& text) {
  const std::size_t point = text.find('.');
  if (point == std::string::npos) return std::nullopt;
  std::string bytes;
  for (const std::string& part : {text.substr(0, point), text.substr(point + 1)}) {
    unsigned byte = 0;
    const char* const end = part.data() + part.size();
    const auto [rest, error] = std::from_chars(part.data(), end, byte, 16);
    if (error != std::errc() || rest != end || byte > 0xFF) return std::nullopt;
    bytes += static_cast<char>(byte);
  }
  return bytes;
}

std::optional<std::chrono::milliseconds> duration_of_text(const std::string& text) {
  constexpr double kLongest = 3'600'000;
  double number = 0;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  const std::string unit(rest, end);
  if (error != std::errc() || (!unit.empty() && unit != "s" && unit != "ms")) return std::nullopt;
  const double milliseconds = std::round(unit == "ms" ? number : number * 1000);
  if (!(milliseconds >= 1 && milliseconds <= kLongest)) return std::nullopt;
  return std::chrono::milliseconds(static_cast<std::int64_t>(milliseconds));
}

void add_capture_option(CLI::App& command, std::string& path) {
  command.add_option("--pcap", path, "Write the telegrams to a capture for Wireshark and tshark")
      ->type_name("FILE");
}

void add_yes_option(CLI::App& command, bool& yes) {
  command.add_flag("-y,--yes", yes, "Do it without asking");
}

void add_connection_options(CLI::App& command, ConnectionOptions& options) {
  const std::string usual_group = command.option_defaults()->get_group();
  command.option_defaults()->group("Connection");
  command.add_option("--ip", options.ip, "Address or name of the PLC")
      ->envname("PLEXUM_IP")
      ->type_name("ADDRESS");
  command.add_flag("--sim", options.simulated, "Use an own simulated PLC: no hardware needed");
  command.add_option("--port", options.port, "TCP port")->capture_default_str();
  command.add_option("--rack", options.rack, "Rack of the CPU")
      ->envname("PLEXUM_RACK")
      ->check(CLI::Range(0u, 7u))
      ->capture_default_str();
  command
      .add_option("--slot", options.slot, "Slot of the CPU: S7-300 2, S7-1200 and S7-1500 1 or 0")
      ->envname("PLEXUM_SLOT")
      ->check(CLI::Range(0u, 31u))
      ->capture_default_str();
  const auto add_partner = [&](const char* flag, client::Partner partner, const char* description) {
    return command.add_flag_callback(
        flag, [&options, partner] { options.partner = partner; }, description);
  };
  using client::Partner;
  CLI::Option* const pg = add_partner("--pg", Partner::kProgrammingDevice,
                                      "Connect as a programming device does (the default)");
  CLI::Option* const op =
      add_partner("--op", Partner::kOperatorPanel, "Connect as an operator panel does");
  CLI::Option* const basic =
      add_partner("--basic", Partner::kBasic, "Connect for S7 basic communication");
  pg->excludes(op)->excludes(basic);
  op->excludes(basic);
  const auto add_tsap = [&](const char* name, std::string& tsap, const char* description) {
    return command
        .add_option_function<std::string>(
            name,
            [&tsap](const std::string& text) {
              const std::optional<std::string> bytes = tsap_of_text(text);
              if (!bytes) {
                throw CLI::ValidationError(
                    "\"" + text +
                    "\" is no TSAP; one is two hexadecimal numbers joined by a point, such as 3.2");
              }
              tsap = *bytes;
            },
            description)
        ->type_name("A.B");
  };
  add_tsap("--tsap-e", options.calling_tsap, "Own (calling) TSAP, in hexadecimal")
      ->default_str("1.0");
  add_tsap("--tsap-f", options.called_tsap, "TSAP of the PLC, in place of rack and slot")
      ->excludes(pg)
      ->excludes(op)
      ->excludes(basic);
  command
      .add_option_function<std::string>(
          "--timeout",
          [&options](const std::string& text) {
            const std::optional<std::chrono::milliseconds> time_out = duration_of_text(text);
            if (!time_out) {
              throw CLI::ValidationError("--timeout: \"" + text +
                                         "\" is no duration from 1ms to 1 hour; write 500ms or 2s");
            }
            options.time_out = *time_out;
          },
          "Give up connecting, or waiting for an answer, after so long: 500ms, 2s")
      ->envname("PLEXUM_TIMEOUT")
      ->type_name("TIME")
      ->default_str("3s");
  command.add_option("--pdu", options.pdu, "PDU size to ask for, in bytes; the PLC may grant less")
      ->check(CLI::Range(64u, 960u))
      ->capture_default_str();
  command.add_flag("--trace", options.trace, "Show every telegram, annotated, on standard error");
  add_capture_option(command, options.capture_path);
  command.option_defaults()->group(usual_group);
}

}  // namespace plexum::cli
