#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <system_error>

#include "cli/system/child_program.h"

namespace plexum::cli {
namespace {

void check(int error, const std::string& program) {
  if (error != 0) throw std::system_error(error, std::generic_category(), program);
}

// Starts the program with `input` as its standard input. Gives 0 when there is no such program.
pid_t start(const std::string& program, int input) {
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_adddup2(&files, input, STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&files, STDERR_FILENO, STDOUT_FILENO);
  std::string name = program;
  char* const arguments[] = {name.data(), nullptr};
  pid_t child = 0;
  const int error = posix_spawnp(&child, name.c_str(), &files, nullptr, arguments, environ);
  posix_spawn_file_actions_destroy(&files);
  if (error == ENOENT) return 0;
  check(error, program);
  return child;
}

// Writes the input, or as much of it as the reader takes.
void write_all(int file, const std::string& input) {
  for (std::size_t done = 0; done < input.size();) {
    const ssize_t written = write(file, input.data() + done, input.size() - done);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return;
    done += static_cast<std::size_t>(written);
  }
}

}  // namespace

std::optional<int> run_with_input(const std::string& program, const std::string& input) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) check(errno, program);
  const auto [reading, writing] = ends;
  const pid_t child = start(program, reading);
  close(reading);
  // A program may end before it has read everything. Its exit code tells that; SIGPIPE would end
  // this program, too.
  const auto previous = std::signal(SIGPIPE, SIG_IGN);
  if (child != 0) write_all(writing, input);
  close(writing);
  std::signal(SIGPIPE, previous);
  if (child == 0) return {};

  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) check(errno, program);
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace plexum::cli
