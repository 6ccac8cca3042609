#include <algorithm>
#include <iomanip>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/plc/plc_value.h"
#include "cli/plc/variables.h"
#include "cli/text/bytes_as_text.h"

namespace plexum::cli {
namespace {

struct ReadOptions {
  ConnectionOptions connection;
  std::vector<std::string> addresses;
  bool json = false;
  bool hex = false;
  bool value = false;
};

// Prints lines of 16 bytes, each with the number of its first byte and its printable characters.
void print_dump(const PlcAddress& address, std::size_t width, const std::string& bytes) {
  constexpr std::size_t kLine = 16;
  for (std::size_t i = 0; i < bytes.size(); i += kLine) {
    const std::string line = bytes.substr(i, kLine);
    std::string characters;
    for (const char c : line) characters += c >= ' ' && c <= '~' ? c : '.';
    std::cout << std::left << std::setw(static_cast<int>(width)) << (i == 0 ? address.text : "")
              << std::right << std::setw(7)
              << address.item.start + i / client::size_of(address.item.type) << "  " << std::left
              << std::setw(3 * kLine) << hex_dump(line) << ' ' << characters << '\n';
  }
}

// Prints the values of each address in the form that the options ask for.
class Printer {
 public:
  Printer(const ReadOptions& options, const std::vector<PlcAddress>& addresses)
      : options_(options) {
    for (const PlcAddress& address : addresses) width_ = std::max(width_, address.text.size());
  }

  void add(const PlcAddress& address, const std::string& bytes) {
    if (options_.hex) {
      print_dump(address, width_, bytes);
      return;
    }
    const std::vector<PlcValue> values = values_of(address, bytes);
    if (options_.json) {
      std::string raw = hex_dump(bytes);
      raw.erase(std::remove(raw.begin(), raw.end(), ' '), raw.end());
      objects_.push_back({{"address", address.text},
                          {"type", name_of(address.type)},
                          {"value", json_of_all(address, values)},
                          {"raw", raw}});
      return;
    }
    if (!options_.value) {
      std::cout << std::left << std::setw(static_cast<int>(width_)) << address.text << "  ";
    }
    std::cout << text_of_all(address, values) << '\n';
  }

  void add_failure(const PlcAddress& address, const std::string& line) {
    if (options_.json) objects_.push_back({{"address", address.text}, {"error", line}});
  }

  // Prints the JSON array, one object on each line; other forms were printed before.
  void end() const {
    if (!options_.json) return;
    std::string text = "[";
    for (const nlohmann::ordered_json& object : objects_) {
      text += (text.size() == 1 ? "\n" : ",\n") + object.dump();
    }
    std::cout << text << "\n]\n";
  }

 private:
  const ReadOptions& options_;
  std::size_t width_ = 0;
  std::vector<nlohmann::ordered_json> objects_;
};

void read(const ReadOptions& options) {
  std::vector<PlcAddress> addresses;
  for (const std::string& text : options.addresses) {
    addresses.push_back(parse_address(text));
    require_readable(addresses.back());
  }
  PlcConnection plc(options.connection);
  const std::vector<ReadResult> results = read_variables(plc, addresses);
  Printer printer(options, addresses);
  std::vector<Failure> failures;
  for (std::size_t i = 0; i < addresses.size(); ++i) {
    // One that can't be read doesn't hide the others.
    try {
      if (results[i].refusal) throw read_failure(addresses[i], *results[i].refusal);
      printer.add(addresses[i], results[i].bytes);
    } catch (const Failure& failure) {
      printer.add_failure(addresses[i], failure.what());
      if (addresses.size() > 1) report(failure);
      failures.push_back(failure);
    }
  }
  printer.end();
  if (failures.empty()) return;
  if (addresses.size() == 1) throw Failure(failures.front());
  throw Failure(std::to_string(failures.size()) + " of " + std::to_string(addresses.size()) +
                " addresses could not be read");
}

}  // namespace

void add_read_command(CLI::App& program) {
  const auto options = std::make_shared<ReadOptions>();
  CLI::App& command = *program.add_subcommand("read", "Reads variables of the PLC");
  command.footer(
      "Addresses, in English or German, with a type and a count where they are not the usual:\n"
      "  DB10.DBX0.3 DB10.DBB0 DB10.DBW4 DB10.DBD8:REAL DI10.DIW4 MW20 M5.1 IB0 EB0 QW2 AW2\n"
      "  PIW256 PEW256 T5 C3 Z3, DB1.DBB0[100] MW20[8]:INT DB1.DBB38:STRING DB1.DBB38[5]:CHAR\n"
      "Types: BOOL BYTE CHAR STRING, WORD INT, DWORD DINT REAL; timers are read as S5TIME (in "
      "JSON\n"
      "in milliseconds), counters as numbers.\n"
      "\n"
      "Examples:\n"
      "  plexum read --sim DB1.DBW16 DB1.DBD28:REAL DB1.DBX36.2\n"
      "  plexum read --ip 192.0.2.10 --json DB10.DBW0[50]:INT M5.1\n"
      "  level=$(plexum read --ip 192.0.2.10 --value DB10.DBD8:REAL)");
  command.add_option("ADDRESS", options->addresses, "What to read")->required()->type_name("");
  CLI::Option* const json =
      command.add_flag("--json", options->json, "An array of address, type, value and raw bytes");
  CLI::Option* const hex =
      command.add_flag("--hex", options->hex, "The bytes as they are, as a dump")->excludes(json);
  command.add_flag("--value", options->value, "The values alone, a line each")
      ->excludes(json)
      ->excludes(hex);
  add_connection_options(command, options->connection);
  command.callback([options] { read(*options); });
}

}  // namespace plexum::cli
