#include <io.h>

#include "cli/system/terminal.h"
#include "platform/windows/windows_headers.h"

namespace plexum::cli {
namespace {

HANDLE handle_of(Stream stream) {
  constexpr DWORD kNames[] = {STD_INPUT_HANDLE, STD_OUTPUT_HANDLE, STD_ERROR_HANDLE};
  return GetStdHandle(kNames[static_cast<int>(stream)]);
}

}  // namespace

bool is_terminal(Stream stream) { return _isatty(static_cast<int>(stream)) != 0; }

// Consoles take escape sequences from Windows 10 on.
bool takes_escape_sequences(Stream stream) {
  DWORD mode = 0;
  const HANDLE console = handle_of(stream);
  return GetConsoleMode(console, &mode) != 0 &&
         SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}

TerminalSize told_size(Stream stream) {
  CONSOLE_SCREEN_BUFFER_INFO info;
  if (GetConsoleScreenBufferInfo(handle_of(stream), &info) == 0) return {};
  const SMALL_RECT& window = info.srWindow;
  return {static_cast<unsigned>(window.Right - window.Left + 1),
          static_cast<unsigned>(window.Bottom - window.Top + 1)};
}

}  // namespace plexum::cli
