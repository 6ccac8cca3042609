#include "cli/system/terminal.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>

#include "cli/text/failure.h"

namespace plexum::cli {
namespace {

constexpr unsigned kUsualWidth = 80;
constexpr unsigned kUsualHeight = 24;

}  // namespace

bool may_animate(Stream stream) {
  const char* const no_color = std::getenv("NO_COLOR");
  return (no_color == nullptr || *no_color == '\0') && is_terminal(stream) &&
         takes_escape_sequences(stream);
}

unsigned terminal_width(Stream stream) {
  const unsigned width = told_size(stream).width;
  return width == 0 ? kUsualWidth : width;
}

unsigned terminal_height(Stream stream) {
  const unsigned height = told_size(stream).height;
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
