#include <set>

#include "cli/help/command_tree.h"

namespace plexum::cli {
namespace {

constexpr const char* kSharedGroup = "Connection";  // the same options in most commands

// A text for roff. A backslash, and a point or quote at the start of a line, mean something to it,
// and it would print a hyphen for a minus.
std::string plain(const std::string& text) {
  std::string escaped;
  bool at_start = true;
  for (const char character : text) {
    if (at_start && (character == '.' || character == '\'')) escaped += "\\&";
    at_start = character == '\n';
    if (character == '\\') {
      escaped += "\\e";
    } else if (character == '-') {
      escaped += "\\-";
    } else {
      escaped += character;
    }
  }
  return escaped;
}

std::string names_of(const CLI::Option& option) {
  std::string text;
  for (const std::string& name : option.get_snames()) text += ", \\fB" + plain("-" + name) + "\\fR";
  for (const std::string& name : option.get_lnames())
    text += ", \\fB" + plain("--" + name) + "\\fR";
  if (!option.nonpositional()) text = "  \\fI" + plain(option.get_name()) + "\\fR";
  if (option.nonpositional() && option.get_items_expected_max() > 0) {
    text += " \\fI" + plain(option.get_type_name()) + "\\fR";
  }
  return text.substr(2);
}

void add_option(std::string& page, const CLI::Option& option) {
  page += ".TP\n" + names_of(option) + "\n" + plain(option.get_description());
  if (!option.get_default_str().empty()) page += " (" + plain(option.get_default_str()) + ")";
  if (!option.get_envname().empty()) page += "; or by " + plain(option.get_envname());
  page += "\n";
}

void add_footer(std::string& page, const CLI::App& command) {
  if (command.get_footer().empty()) return;
  page += ".PP\n.nf\n" + plain(command.get_footer()) + "\n.fi\n";
}

void add_command(std::string& page, const CLI::App& command) {
  const std::string path = path_of(command);
  page += ".SS " + plain(path.substr(path.find(' ') + 1)) + "\n";
  page += plain(command.get_description()) + "\n";
  for (const CLI::Option* const option : positional_options(command)) add_option(page, *option);
  for (const CLI::Option* const option : named_options(command)) {
    const bool known = option->get_group() == kSharedGroup || option->check_lname("help");
    if (!known) add_option(page, *option);
  }
  add_footer(page, command);
  for (const CLI::App* const below : commands_below(command)) add_command(page, *below);
}

// The options that most commands have, each once.
void add_shared_options(std::string& page, const CLI::App& program) {
  std::set<std::string> seen;
  page += ".SH CONNECTION\nFor every command that talks to a PLC.\n";
  for (const CLI::App* const command : commands_below(program)) {
    for (const CLI::Option* const option : named_options(*command)) {
      if (option->get_group() == kSharedGroup && seen.insert(option->get_name()).second) {
        add_option(page, *option);
      }
    }
  }
}

}  // namespace

std::string manual_page(const CLI::App& program) {
  std::string page = ".TH PLEXUM 1 \"\" Plexum \"User Commands\"\n";
  page += ".SH NAME\nplexum \\- " + plain(program.get_description()) + "\n";
  page += ".SH SYNOPSIS\n.B plexum\n.I command\n[\\fIoption\\fR]...\n";
  page += ".SH DESCRIPTION\n";
  add_footer(page, program);
  page += ".SH COMMANDS\n";
  for (const CLI::App* const command : commands_below(program)) add_command(page, *command);
  add_shared_options(page, program);
  return page;
}

}  // namespace plexum::cli
