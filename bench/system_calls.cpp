#include "bench/system_calls.h"

#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <exception>
#include <stdexcept>

namespace plexum::bench {
namespace {

// The call that stops the process before and after the work; it isn't counted.
constexpr long kBoundary = SYS_kill;

// Names for the calls that are expected; any other shows as its number.
std::string name_of(std::uint64_t number) {
  switch (number) {
    case SYS_sendto:
      return "send";
    case SYS_recvfrom:
      return "recv";
    case SYS_ppoll:
      return "ppoll";
    case SYS_epoll_wait:
    case SYS_epoll_pwait:
    case SYS_epoll_pwait2:
      return "wait";
    case SYS_timerfd_settime:
      return "timerfd_settime";
    default:
      return "call " + std::to_string(number);
  }
}

[[noreturn]] void run_traced(const std::function<void()>& prepare,
                             const std::function<void()>& work) {
  try {
    prepare();
    const pid_t self = ::getpid();
    if (::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) std::_Exit(1);
    ::syscall(kBoundary, self, SIGSTOP);
    work();
    ::syscall(kBoundary, self, SIGSTOP);
  } catch (const std::exception&) {
    std::_Exit(1);
  }
  std::_Exit(0);
}

}  // namespace

std::map<std::string, long> count_system_calls(const std::function<void()>& prepare,
                                               const std::function<void()>& work) {
  const pid_t process = ::fork();
  if (process == 0) run_traced(prepare, work);
  std::map<std::string, long> calls;
  const auto next_stop = [process] {
    int status = 0;
    if (::waitpid(process, &status, 0) != process || !WIFSTOPPED(status)) {
      throw std::runtime_error("the traced process failed");
    }
    return WSTOPSIG(status);
  };
  constexpr int kAtSystemCall = SIGTRAP | 0x80;
  if (next_stop() != SIGSTOP) throw std::runtime_error("the traced process failed");
  ::ptrace(PTRACE_SETOPTIONS, process, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
  const auto go_on = [process] { ::ptrace(PTRACE_SYSCALL, process, nullptr, nullptr); };
  for (go_on();; go_on()) {
    const int stop = next_stop();
    if (stop == SIGSTOP) break;
    if (stop != kAtSystemCall) continue;
    __ptrace_syscall_info info{};
    ::ptrace(PTRACE_GET_SYSCALL_INFO, process, sizeof info, &info);
    if (info.op == PTRACE_SYSCALL_INFO_ENTRY && info.entry.nr != kBoundary) {
      ++calls[name_of(info.entry.nr)];
    }
  }
  ::kill(process, SIGKILL);
  ::waitpid(process, nullptr, 0);
  return calls;
}

}  // namespace plexum::bench
