#include <iostream>
#include <iterator>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/plc/plc_value.h"
#include "cli/plc/variables.h"
#include "cli/system/terminal.h"

namespace plexum::cli {
namespace {

using nlohmann::json;

struct WriteOptions {
  ConnectionOptions connection;
  bool verify = false;
  bool yes = false;
};

// The elements of a JSON array, as texts.
std::vector<std::string> json_elements(const PlcAddress& address, const std::string& text) {
  const json array = json::parse(text, nullptr, false);
  if (!array.is_array()) throw usage_error(address.text + ": " + text + " is no JSON array");
  std::vector<std::string> elements;
  for (const json& element : array) {
    elements.push_back(element.is_string() ? element.get<std::string>() : element.dump());
  }
  return elements;
}

std::vector<std::string> comma_elements(const std::string& text) {
  std::vector<std::string> elements(1);
  for (const char c : text) {
    if (c == ',') {
      elements.emplace_back();
    } else {
      elements.back() += c;
    }
  }
  return elements;
}

// Takes assignments from the front of the arguments: an address, then its value. An array takes as
// many values as it has elements, or one argument with all of them, in JSON or with commas.
class Arguments {
 public:
  explicit Arguments(const std::vector<std::string>& texts)
      : next_(texts.begin()), end_(texts.end()) {}

  [[nodiscard]] bool empty() const { return next_ == end_; }

  Assignment take_assignment() {
    Assignment taken{parse_address(*next_++), {}};
    require_writable(taken.address);
    if (empty()) throw usage_error(taken.address.text + ": its value is missing");
    const bool one_text = taken.address.type == PlcType::kChar;
    const std::size_t count = one_text ? 1 : taken.address.count;
    const std::vector<std::string> texts = take_texts(taken.address, one_text, count);
    if (texts.size() != count) {
      throw usage_error(taken.address.text + ": needs " + std::to_string(count) + " values, not " +
                        std::to_string(texts.size()));
    }
    for (const std::string& text : texts) {
      taken.values.push_back(parse_value(taken.address, text));
    }
    return taken;
  }

 private:
  std::vector<std::string> take_texts(const PlcAddress& address, bool one_text, std::size_t count) {
    if (address.array && !one_text) {
      if (next_->starts_with('[')) return json_elements(address, *next_++);
      const bool commas = next_->find(',') != std::string::npos;
      if (commas && address.type != PlcType::kString) return comma_elements(*next_++);
    }
    std::vector<std::string> texts;
    while (texts.size() < count && !empty()) texts.push_back(*next_++);
    return texts;
  }

  std::vector<std::string>::const_iterator next_, end_;
};

void ask_for_outputs(const PlcConnection& plc, const std::vector<Assignment>& assignments,
                     bool yes) {
  std::string outputs;
  for (const Assignment& assignment : assignments) {
    if (assignment.address.output)
      outputs += (outputs.empty() ? "" : ", ") + assignment.address.text;
  }
  if (!outputs.empty()) ask_before("write the outputs " + outputs + " of " + plc.plc_name(), yes);
}

// Checks all arguments, and the room of all strings, before it writes anything. It stops at the
// first failure, because a later value may rely on an earlier one.
void write_all(const WriteOptions& options, const std::vector<std::string>& pairs) {
  if (pairs.empty())
    throw usage_error("give addresses and values, as in MW20 5; see plexum write --help");
  std::vector<Assignment> assignments;
  for (Arguments arguments(pairs); !arguments.empty();) {
    assignments.push_back(arguments.take_assignment());
    if (options.verify) require_readable(assignments.back().address);
  }
  PlcConnection plc(options.connection);
  ask_for_outputs(plc, assignments, options.yes);
  plc.connect();
  for (const Assignment& assignment : assignments) {
    if (assignment.address.type == PlcType::kString) check_strings(plc, assignment);
  }
  for (std::size_t i = 0; i < assignments.size(); ++i) {
    const Assignment& assignment = assignments[i];
    try {
      write_values(plc, assignment);
      if (options.verify) verify_values(plc, assignment);
    } catch (const Failure& failure) {
      const std::size_t left = assignments.size() - i - 1;
      if (left == 0) throw;
      throw Failure(failure.what() + ("; the " + std::to_string(left)) + " behind it: not written",
                    failure.code());
    }
    std::cout << assignment.address.text << "  "
              << text_of_all(assignment.address, assignment.values)
              << (options.verify ? "  verified\n" : "\n");
  }
}

}  // namespace

void add_write_command(CLI::App& program) {
  const auto options = std::make_shared<WriteOptions>();
  CLI::App& command = *program.add_subcommand(
      "write", "Writes variables of the PLC: plexum write [OPTIONS] ADDRESS VALUE...");
  command.footer(
      "Addresses are those of `plexum read`. Integers are decimal, 16#1A, W#16#1A, 0x1A, 2#101; a\n"
      "BOOL is 1, 0, true or false. An array takes as many values as it has, or one argument with\n"
      "all of them: 1,2,3 or a JSON array. Outputs ask first.\n"
      "\n"
      "Examples:\n"
      "  plexum write --sim --verify DB1.DBW0:INT -5 DB1.DBD28:REAL 2.5 M5.1 true\n"
      "  plexum write --ip 192.0.2.10 MW20[3]:INT 1,2,3 DB10.DBB38:STRING \"Line 2\"\n"
      "  plexum write --ip 192.0.2.10 --yes QB0 16#FF");
  command.add_flag("--verify", options->verify, "Reads back what was written, and compares");
  add_yes_option(command, options->yes);
  add_connection_options(command, options->connection);
  // The arguments are no positional option of the parser: it would split [1,2] and take -.5 for an
  // option. -h is the help only where it stands alone, so that a value may begin with it.
  command.set_help_flag("--help", "Print this help message and exit");
  command.allow_extras();
  command.callback([options, &command] {
    const std::vector<std::string> arguments = command.remaining();
    if (arguments.size() == 1 && arguments[0] == "-h") throw CLI::CallForHelp();
    write_all(*options, arguments);
  });
}

}  // namespace plexum::cli
