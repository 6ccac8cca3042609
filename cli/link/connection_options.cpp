#include "cli/link/connection_options.h"

#include "cli/text/failure.h"

namespace plexum::cli {
namespace {

// The rack stands in the upper three bits of the TSAP's second byte, the slot in the lower five.
constexpr unsigned kSlotsARack = 32;

// The control takes the decimal digits of a TSAP text for hexadecimal ones: 22 gives 0x22. It
// rounds the number for the ones, but cuts it for the tens: 29.5 gives two tens and ten ones, so
// 0x2A. No text gives 0x?B to 0x?F.
std::string tsap_part(unsigned byte) {
  const unsigned tens = byte / 16 * 10;
  const unsigned ones = byte % 16;
  if (ones > 10) return {};
  return ones == 10 ? std::to_string(tens + 9) + ".5" : std::to_string(tens + ones);
}

}  // namespace

std::string ConnectionOptions::called_tsap() const {
  if (!tsap_f.empty()) return tsap_f;
  const std::string place = tsap_part(rack * kSlotsARack + slot);
  if (place.empty()) {
    throw usage_error("slot " + std::to_string(slot) +
                      " can't be told to the control, whose TSAPs have the digits 0 to 9 only");
  }
  return std::string(1, connection_kind) + "." + place;
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
  const auto add_kind = [&](const char* flag, char kind, const char* description) {
    return command.add_flag_callback(
        flag, [&options, kind] { options.connection_kind = kind; }, description);
  };
  CLI::Option* const pg =
      add_kind("--pg", '1', "Connect as a programming device does (the default)");
  CLI::Option* const op = add_kind("--op", '2', "Connect as an operator panel does");
  CLI::Option* const basic = add_kind("--basic", '3', "Connect for S7 basic communication");
  pg->excludes(op)->excludes(basic);
  op->excludes(basic);
  command.add_option("--tsap-e", options.tsap_e, "Own (calling) TSAP")
      ->type_name("A.B")
      ->capture_default_str();
  command.add_option("--tsap-f", options.tsap_f, "TSAP of the PLC, in place of rack and slot")
      ->type_name("A.B")
      ->excludes(pg)
      ->excludes(op)
      ->excludes(basic);
  command
      .add_option("--tzeit", options.tzeit,
                  "Time-out of every wait, in slices of a millisecond or more")
      ->check(CLI::Range(0, 3600000))
      ->capture_default_str();
  command.add_option("--pdu", options.pdu, "PDU size that the PLC grants, in bytes")
      ->check(CLI::Range(64u, 960u))
      ->capture_default_str();
  command.add_flag("--trace", options.trace, "Show every telegram, annotated, on standard error");
  add_capture_option(command, options.capture_path);
  command.option_defaults()->group(usual_group);
}

}  // namespace plexum::cli
