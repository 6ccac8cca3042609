#include "cli/system/console.h"

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>

#include <cstdio>

#include "platform/windows/code_page.h"
#include "platform/windows/windows_headers.h"
//
#include <shellapi.h>
#endif

namespace plexum::cli {
namespace {

#ifdef _WIN32

// The system's own split of the command line: main's is in the ANSI code page.
std::vector<std::string> utf8_arguments(int, char**) {
  int count = 0;
  wchar_t** const wide = CommandLineToArgvW(GetCommandLineW(), &count);
  std::vector<std::string> arguments;
  for (int i = 0; i < count; ++i) arguments.push_back(windows::utf8_from_utf16(wide[i]));
  LocalFree(wide);
  return arguments;
}

// Gives the code page to return to.
unsigned prepare_streams() {
  _setmode(_fileno(stdout), _O_BINARY);
  _setmode(_fileno(stderr), _O_BINARY);
  const unsigned before = GetConsoleOutputCP();
  return SetConsoleOutputCP(CP_UTF8) != 0 ? before : 0;
}

void restore_streams(unsigned code_page) {
  if (code_page != 0) SetConsoleOutputCP(code_page);
}

#else

std::vector<std::string> utf8_arguments(int argc, char** argv) { return {argv, argv + argc}; }
unsigned prepare_streams() { return 0; }
void restore_streams(unsigned) {}

#endif

}  // namespace

Console::Console(int argc, char** argv)
    : arguments_(utf8_arguments(argc, argv)), previous_code_page_(prepare_streams()) {
  for (const std::string& argument : arguments_) pointers_.push_back(argument.c_str());
}

Console::~Console() { restore_streams(previous_code_page_); }

}  // namespace plexum::cli
