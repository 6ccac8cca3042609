#include "cli/help/command_tree.h"

namespace plexum::cli {
namespace {

// Adds the case of one command: which words may follow it, and which of its options take a file or
// another value.
void add_case(std::string& cases, const CLI::App& command) {
  std::string words;
  std::string files;
  std::string values;
  for (const CLI::App* const below : commands_below(command)) words += below->get_name() + " ";
  for (const CLI::Option* const option : named_options(command)) {
    for (const std::string& name : option->get_lnames()) {
      words += "--" + name + " ";
      if (option->get_items_expected_max() == 0) continue;
      (option->get_type_name() == "FILE" ? files : values) += "--" + name + " ";
    }
  }
  bool takes_files = false;
  for (const CLI::Option* const option : positional_options(command)) {
    takes_files = takes_files || option->get_type_name() == "PATH";
  }
  cases += "    \"" + path_of(command) + "\")\n";
  cases += "      words=\"" + words + "\" files=\"" + files + "\" values=\"" + values + "\"";
  cases += takes_files ? " paths=yes ;;\n" : " ;;\n";
  for (const CLI::App* const below : commands_below(command)) add_case(cases, *below);
}

}  // namespace

std::string bash_completion(const CLI::App& program) {
  const std::string& name = program.get_name();
  std::string cases;
  add_case(cases, program);
  // The script follows the words of the line down the tree of commands, and passes over those that
  // name none (options and values).
  return "# Completes the commands and options of " + name + " in bash.\n_" + name + R"(_words() {
  words= files= values= paths=
  case "$1" in
)" + cases +
         R"(    *) return 1 ;;
  esac
}

_)" + name +
         R"(() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}
  local words files values paths called=)" +
         name + R"( word
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    if _)" +
         name + R"(_words "$called $word"; then called="$called $word"; fi
  done
  _)" + name +
         R"(_words "$called"
  COMPREPLY=()
  case " $files " in
    *" $previous "*) mapfile -t COMPREPLY < <(compgen -f -- "$current"); return ;;
  esac
  case " $values " in
    *" $previous "*) return ;;
  esac
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
  if [ -n "$paths" ] && [[ $current != -* ]]; then
    mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -f -- "$current")
  fi
}
complete -o filenames -F _)" +
         name + " " + name + "\n";
}

}  // namespace plexum::cli
