#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "cli/system/terminal.h"

namespace plexum::cli {

bool is_terminal(Stream stream) { return isatty(static_cast<int>(stream)) != 0; }

bool takes_escape_sequences(Stream) {
  const char* const terminal = std::getenv("TERM");
  return terminal != nullptr && std::string(terminal) != "dumb";
}

TerminalSize told_size(Stream stream) {
  winsize size{};
  if (ioctl(static_cast<int>(stream), TIOCGWINSZ, &size) != 0) return {};
  return {size.ws_col, size.ws_row};
}

}  // namespace plexum::cli
