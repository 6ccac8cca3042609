#include "cli/system/terminal.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>

#include "cli/text/failure.h"

#ifdef _WIN32
#include <io.h>
#include <windows.h>
#else
#include <sys/ioctl.h>
#include <unistd.h>
#endif

namespace plexum::cli {
namespace {

constexpr unsigned kUsualWidth = 80;
constexpr unsigned kUsualHeight = 24;

// In characters; 0 where it can't be told.
struct Size {
  unsigned width = 0;
  unsigned height = 0;
};

#ifdef _WIN32

HANDLE handle_of(Stream stream) {
  constexpr DWORD kNames[] = {STD_INPUT_HANDLE, STD_OUTPUT_HANDLE, STD_ERROR_HANDLE};
  return GetStdHandle(kNames[static_cast<int>(stream)]);
}

// Consoles paint over lines only where they take escape sequences, from Windows 10 on.
bool takes_escape_sequences(Stream stream) {
  DWORD mode = 0;
  const HANDLE console = handle_of(stream);
  return GetConsoleMode(console, &mode) != 0 &&
         SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}

Size size_of(Stream stream) {
  CONSOLE_SCREEN_BUFFER_INFO info;
  if (GetConsoleScreenBufferInfo(handle_of(stream), &info) == 0) return {};
  const SMALL_RECT& window = info.srWindow;
  return {static_cast<unsigned>(window.Right - window.Left + 1),
          static_cast<unsigned>(window.Bottom - window.Top + 1)};
}

#else

bool takes_escape_sequences(Stream) {
  const char* const terminal = std::getenv("TERM");
  return terminal != nullptr && std::string(terminal) != "dumb";
}

Size size_of(Stream stream) {
  winsize size{};
  if (ioctl(static_cast<int>(stream), TIOCGWINSZ, &size) != 0) return {};
  return {size.ws_col, size.ws_row};
}

#endif

}  // namespace

bool is_terminal(Stream stream) {
#ifdef _WIN32
  return _isatty(static_cast<int>(stream)) != 0;
#else
  return isatty(static_cast<int>(stream)) != 0;
#endif
}

bool may_animate(Stream stream) {
  const char* const no_color = std::getenv("NO_COLOR");
  return (no_color == nullptr || *no_color == '\0') && is_terminal(stream) &&
         takes_escape_sequences(stream);
}

unsigned terminal_width(Stream stream) {
  const unsigned width = size_of(stream).width;
  return width == 0 ? kUsualWidth : width;
}

unsigned terminal_height(Stream stream) {
  const unsigned height = size_of(stream).height;
  return height == 0 ? kUsualHeight : height;
}

void ask_before(const std::string& what, bool yes) {
  if (yes) return;
  if (!is_terminal(Stream::kInput)) {
    throw Failure("not done without being asked for: " + what +
                      "; there is no terminal to confirm on, so give --yes if it is meant",
                  ExitCode::kRefused);
  }
  std::cerr << "Really " << what << "? [y/N] " << std::flush;
  std::string answer;
  std::getline(std::cin, answer);
  if (answer != "y" && answer != "Y" && answer != "yes") {
    throw Failure("not done: " + what, ExitCode::kRefused);
  }
}

Progress::Progress(std::string title, std::size_t steps)
    : title_(std::move(title)), steps_(steps), animated_(may_animate(Stream::kError)) {}

Progress::~Progress() {
  if (animated_ && begun_ > 0) std::cerr << '\n';
}

void Progress::step(const std::string& name) {
  ++begun_;
  const std::string count = std::to_string(begun_) + "/" + std::to_string(steps_);
  if (!animated_) {
    std::cerr << title_ << ' ' << count << ' ' << name << '\n';
    return;
  }
  constexpr std::size_t kBarWidth = 30;
  const std::size_t filled =
      steps_ == 0 ? kBarWidth : std::min(begun_, steps_) * kBarWidth / steps_;
  std::string line = title_ + " [" + std::string(filled, '#') +
                     std::string(kBarWidth - filled, ' ') + "] " + count + ' ' + name;
  const std::size_t width = terminal_width(Stream::kError);
  if (line.size() >= width) line.resize(width - 1);
  std::cerr << '\r' << line << "\x1B[K" << std::flush;
}

}  // namespace plexum::cli
