#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <iostream>
#include <string>

#include "cli/commands/commands.h"
#include "cli/system/console.h"
#include "cli/text/failure.h"

namespace {

using plexum::cli::Console;
using plexum::cli::ExitCode;
using plexum::cli::Failure;

int ended(const Failure& failure) {
  plexum::cli::report(failure);
  return static_cast<int>(failure.code());
}

int run(CLI::App& program, const Console& console) {
  try {
    program.parse(console.argc(), console.argv());
  } catch (const CLI::Success& asked_for_help) {
    return program.exit(asked_for_help);
  } catch (const CLI::ParseError& error) {
    return ended(plexum::cli::usage_error(error.what() + std::string("; see plexum --help")));
  } catch (const Failure& failure) {
    return ended(failure);
  } catch (const std::exception& error) {
    return ended(Failure(error.what()));
  }
  return static_cast<int>(ExitCode::kDone);
}

}  // namespace

int main(int argc, char** argv) {
  const Console console(argc, argv);
  CLI::App program("Talks to Siemens S7 PLCs over ISO-on-TCP", "plexum");
  program.allow_windows_style_options(false);  // on Windows /x would be an option, not a path
  program.set_version_flag("--version", PLEXUM_VERSION);
  plexum::cli::add_commands(program);

  const int exit_code = run(program, console);
  std::cout.flush();
  if (exit_code == 0 && (!std::cout || std::fflush(stdout) != 0 || std::ferror(stdout) != 0)) {
    return ended(Failure("standard output could not be written"));
  }
  return exit_code;
}
