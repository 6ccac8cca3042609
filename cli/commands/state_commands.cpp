#include <functional>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "cli/blocks/block_jobs.h"
#include "cli/commands/commands.h"
#include "cli/plc/plc_clock.h"
#include "cli/plc/plc_state.h"
#include "cli/text/bytes_as_text.h"

namespace plexum::cli {
namespace {

using Json = nlohmann::ordered_json;

struct StateOptions {
  ConnectionOptions connection;
  bool json = false;
};

Json lamps_as_json(const LampList& list) {
  Json lamps = Json::object();
  for (const Lamp& lamp : list.lamps) lamps[lamp.name()] = lamp.state();
  return lamps;
}

std::string lamps_as_text(const LampList& list) {
  std::string text;
  for (const Lamp& lamp : list.lamps) {
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
    const LampList list = read_lamps(plc);
    found["lamps"] = lamps_as_json(list);
    return lamps_as_text(list);
  });
  report.add("Clock", [&](Json& found) {
    const PlcTime time = read_clock(plc);
    found["clock"] = iso_text(time);
    return iso_text(time) + ", " + weekday_name(time);
  });
  report.add("Blocks", [&](Json& found) {
    Json blocks = Json::object();
    std::string line;
    for (const BlockList& list : list_all_blocks(plc)) {
      blocks[list.type->name] = {{"count", list.numbers.size()},
                                 {"may_be_incomplete", list.may_be_cut}};
      line += (line.empty() ? "" : ", ") + std::string(list.type->name) + " " +
              (list.may_be_cut ? "at least " : "") + std::to_string(list.numbers.size());
    }
    found["blocks"] = blocks;
    return line;
  });
  report.end();
}

void show_mode(const StateOptions& options) {
  PlcConnection plc(options.connection);
  const ModeByte byte = read_mode_byte(plc);
  const RunMode mode = byte.mode() == RunMode::kUnknown ? read_lamps(plc).mode() : byte.mode();
  if (options.json) {
    std::cout << Json{{"mode", name_of(mode)}, {"byte", byte.value}, {"bits", byte.bits()}}.dump()
              << '\n';
  } else {
    std::cout << name_of(mode) << " (bits 0 to 7: " << byte.bits() << ")\n";
  }
}

void show_lamps(const StateOptions& options) {
  PlcConnection plc(options.connection);
  const LampList list = read_lamps(plc);
  if (options.json) {
    std::cout << Json{{"list", "0119"},
                      {"bytes", hex_dump(list.bytes)},
                      {"lamps", lamps_as_json(list)}}
                     .dump(2)
              << '\n';
    return;
  }
  constexpr std::size_t kBytesALine = 16;
  for (std::size_t at = 0; at < list.bytes.size(); at += kBytesALine) {
    std::cout << hex_dump(list.bytes.substr(at, kBytesALine)) << '\n';
  }
  for (const Lamp& lamp : list.lamps) {
    std::cout << lamp.name() << std::string(8 - std::min<std::size_t>(7, lamp.name().size()), ' ')
              << lamp.state() << '\n';
  }
}

void add_state_command(CLI::App& program, const char* name, const char* description,
                       const char* footer, void (*act)(const StateOptions&)) {
  const auto options = std::make_shared<StateOptions>();
  CLI::App& command = *program.add_subcommand(name, description);
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
  add_state_command(program, "mode", "Shows whether the CPU runs",
                    "The bits are those of state list 0x0424 that the control reads, bit 0 first;\n"
                    "where they have no words, the lamps tell the mode.\n\n"
                    "Examples:\n"
                    "  plexum mode --sim\n"
                    "  plexum mode --ip 192.0.2.10 --json",
                    show_mode);
}

void add_lamps_command(CLI::App& program) {
  add_state_command(program, "szl", "Shows state list 0x0119: its bytes, and the lamps in it",
                    "Examples:\n"
                    "  plexum szl --sim\n"
                    "  plexum szl --ip 192.0.2.10 --json",
                    show_lamps);
}

}  // namespace plexum::cli
