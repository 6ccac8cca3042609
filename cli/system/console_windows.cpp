#include <fcntl.h>
#include <io.h>

#include <cstdio>

#include "cli/system/console.h"
#include "platform/windows/code_page.h"
#include "platform/windows/windows_headers.h"
//
#include <shellapi.h>

namespace plexum::cli {
namespace {

// The command line as the system splits it: main's arguments are in the ANSI code page.
std::vector<std::string> utf8_arguments() {
  int count = 0;
  wchar_t** const wide = CommandLineToArgvW(GetCommandLineW(), &count);
  std::vector<std::string> arguments;
  for (int i = 0; i < count; ++i) arguments.push_back(windows::utf8_from_utf16(wide[i]));
  LocalFree(wide);
  return arguments;
}

}  // namespace

Console::Console(int, char**) : arguments_(utf8_arguments()) {
  point_to_arguments();
  _setmode(_fileno(stdout), _O_BINARY);
  _setmode(_fileno(stderr), _O_BINARY);
  const unsigned before = GetConsoleOutputCP();
  if (SetConsoleOutputCP(CP_UTF8) != 0) previous_code_page_ = before;
}

Console::~Console() {
  if (previous_code_page_ != 0) SetConsoleOutputCP(previous_code_page_);
}

}  // namespace plexum::cli
