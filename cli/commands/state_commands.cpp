#include <algorithm>
#include <cstdio>
#include <functional>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "cli/blocks/block_jobs.h"
#include "cli/commands/commands.h"
#include "cli/plc/plc_state.h"
#include "cli/text/bytes_as_text.h"
#include "cli/text/iso_time.h"

namespace plexum::cli {
namespace {

using Json = nlohmann::ordered_json;

struct StateOptions {
  ConnectionOptions connection;
  bool json = false;
  std::uint16_t id = 0x0119;  // of a state list
  std::uint16_t index = 0;
};

Json lamps_as_json(const std::vector<Lamp>& list) {
  Json lamps = Json::object();
  for (const Lamp& lamp : list) lamps[lamp.name()] = lamp.state();
  return lamps;
}

std::string lamps_as_text(const std::vector<Lamp>& list) {
  std::string text;
  for (const Lamp& lamp : list) {
    text += (text.empty() ? "" : ", ") + lamp.name() + " " + lamp.state();
  }
  return text;
}

// Collects what a PLC tells of itself. A part that it doesn't tell doesn't stop the others.
class Report {
 public:
  explicit Report(bool json) : json_(json) {}

  // `part` asks the PLC. It returns the line for people, and puts values for programs into the
  // object.
  void add(const char* title, const std::function<std::string(Json&)>& part) {
    std::string line;
    try {
      line = part(found_);
    } catch (const Failure& failure) {
      line = "not to be had";
      problems_.emplace_back(failure.what());
    }
    constexpr std::size_t kColumn = 9;
    if (!json_) {
      std::cout << title << std::string(kColumn - std::string(title).size(), ' ') << line << '\n';
    }
  }

  // Throws the first failure, if there was one, and prints the others.
  void end() {
    if (json_) {
      found_["problems"] = problems_;
      std::cout << found_.dump(2) << '\n';
    }
    for (std::size_t i = 1; i < problems_.size(); ++i) {
      std::cerr << "plexum: " << problems_[i] << '\n';
    }
    if (!problems_.empty()) throw Failure(problems_.front());
  }

 private:
  const bool json_;
  Json found_ = Json::object();
  std::vector<std::string> problems_;
};

void info(const StateOptions& options) {
  PlcConnection plc(options.connection);
  plc.connect();
  Report report(options.json);
  report.add("PLC", [&](Json& found) {
    found["plc"] = plc.plc_name();
    return plc.plc_name();
  });
  report.add("Mode", [&](Json& found) {
    const char* const mode = name_of(read_mode(plc));
    found["mode"] = mode;
    return mode;
  });
  report.add("Lamps", [&](Json& found) {
    const std::vector<Lamp> lamps = read_lamps(plc);
    found["lamps"] = lamps_as_json(lamps);
    return lamps_as_text(lamps);
  });
  report.add("Clock", [&](Json& found) {
    const PlcTime time =
        plc.run("reading the clock", [](S7Client& client) { return client.clock(); });
    found["clock"] = iso_text(time);
    return iso_text(time) + ", " + weekday_name(time);
  });
  report.add("Blocks", [&](Json& found) {
    Json blocks = Json::object();
    std::string line;
    for (const auto& [type, count] : count_blocks(plc)) {
      blocks[type->name] = {{"count", count}};
      line += (line.empty() ? "" : ", ") + std::string(type->name) + " " + std::to_string(count);
    }
    found["blocks"] = blocks;
    return line;
  });
  report.add("Link", [&](Json& found) {
    const client::Granted granted = plc.granted();
    found["pdu"] = granted.pdu;
    found["jobs"] = granted.calling_jobs;
    return "PDU of " + std::to_string(granted.pdu) + " bytes, " +
           std::to_string(granted.calling_jobs) +
           (granted.calling_jobs == 1 ? " job at once" : " jobs at once");
  });
  report.end();
}

void show_mode(const StateOptions& options) {
  PlcConnection plc(options.connection);
  const ModeByte byte = read_mode_byte(plc);
  const RunMode mode = mode_by(plc, byte);
  if (options.json) {
    std::cout << Json{{"mode", name_of(mode)}, {"byte", byte.value}, {"bits", byte.bits()}}.dump()
              << '\n';
  } else {
    std::cout << name_of(mode) << " (bits 0 to 7: " << byte.bits() << ")\n";
  }
}

std::string list_number(std::uint16_t number) {
  char text[8];
  std::snprintf(text, sizeof text, "%04X", number);
  return text;
}

void show_state_list(const StateOptions& options) {
  PlcConnection plc(options.connection);
  const client::StateList list = read_state_list(plc, options.id, options.index);
  const std::vector<Lamp> lamps = is_list_of_lamps(list) ? lamps_in(list) : std::vector<Lamp>();
  if (options.json) {
    Json records = Json::array();
    for (std::size_t i = 0; i < list.size(); ++i) {
      records.push_back(hex_dump(std::string(list.record(i))));
    }
    Json found{{"list", list_number(list.id)},
               {"index", list_number(list.index)},
               {"record_size", list.record_size},
               {"count", list.record_count},
               {"records", records}};
    if (is_list_of_lamps(list)) found["lamps"] = lamps_as_json(lamps);
    std::cout << found.dump(2) << '\n';
    return;
  }
  std::cout << "list " << list_number(list.id) << ", index " << list_number(list.index) << ": "
            << list.record_count << " records of " << list.record_size << " bytes\n";
  for (std::size_t i = 0; i < list.size(); ++i) {
    const std::string record(list.record(i));
    std::string characters;
    for (const char c : record) characters += c >= ' ' && c <= '~' ? c : '.';
    std::cout << hex_dump(record) << "  " << characters << '\n';
  }
  for (const Lamp& lamp : lamps) {
    std::cout << lamp.name() << std::string(8 - std::min<std::size_t>(7, lamp.name().size()), ' ')
              << lamp.state() << '\n';
  }
}

void add_state_command(CLI::App& program, const char* name, const char* description,
                       const char* footer, void (*act)(const StateOptions&)) {
  const auto options = std::make_shared<StateOptions>();
  CLI::App& command = *program.add_subcommand(name, description);
  if (act == show_state_list) {
    command.add_option("id", options->id, "Id of the list, such as 0x0011")->capture_default_str();
    command.add_option("index", options->index, "Index in the list")->capture_default_str();
  }
  command.footer(footer);
  command.add_flag("--json", options->json, "As JSON");
  add_connection_options(command, options->connection);
  command.callback([options, act] { act(*options); });
}

}  // namespace

void add_info_command(CLI::App& program) {
  add_state_command(program, "info", "Shows the PLC's mode, lamps, clock and numbers of blocks",
                    "Examples:\n"
                    "  plexum info --sim\n"
                    "  plexum info --ip 192.0.2.10 --json",
                    info);
}

void add_mode_command(CLI::App& program) {
  add_state_command(
      program, "mode", "Shows whether the CPU runs",
      "The bits are those of the event in state list 0x0424 that brought the CPU into\n"
      "its mode, bit 0 first; where they are unknown, the lamps tell the mode.\n\n"
      "Examples:\n"
      "  plexum mode --sim\n"
      "  plexum mode --ip 192.0.2.10 --json",
      show_mode);
}

void add_state_list_command(CLI::App& program) {
  add_state_command(program, "szl", "Shows a system state list; without an id the lamps (0x0119)",
                    "Examples:\n"
                    "  plexum szl --sim\n"
                    "  plexum szl --sim 0x0011\n"
                    "  plexum szl --ip 192.0.2.10 0x0132 4 --json",
                    show_state_list);
}

}  // namespace plexum::cli
