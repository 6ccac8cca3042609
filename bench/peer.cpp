#include "bench/peer.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "bench/plc.h"
#include "sim/simulated_plc.h"

namespace plexum::bench {
namespace {

[[noreturn]] void fail(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

// Where a telegram and its answer have the PDU reference, which `S7Client` counts up.
constexpr std::size_t kReference = 11;
constexpr std::size_t kReferenceSize = 2;

// Whether two telegrams differ by their references at most.
bool ask_the_same(const std::string& one, const std::string& other) {
  constexpr std::size_t kBehind = kReference + kReferenceSize;
  return one.size() == other.size() && one.size() >= kBehind &&
         one.compare(0, kReference, other, 0, kReference) == 0 &&
         one.compare(kBehind, std::string::npos, other, kBehind) == 0;
}

// Takes each receive for one telegram: the clients that it is measured with send one at a time.
void answer(int connection, std::uint16_t pdu) {
  const int on = 1;
  ::setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  std::array<char, 4096> received;
  std::string telegram;
  std::string last;
  std::string reply;
  for (;;) {
    const ssize_t count = ::recv(connection, received.data(), received.size(), 0);
    if (count <= 0) break;
    telegram.assign(received.data(), static_cast<std::size_t>(count));
    // As a rule the same is asked again: its answer is kept, and the peer's own time stays small.
    if (ask_the_same(telegram, last) && reply.size() >= kReference + kReferenceSize) {
      reply.replace(kReference, kReferenceSize, telegram, kReference, kReferenceSize);
    } else {
      reply = answer_to(telegram, pdu);
      last = telegram;
    }
    if (reply.empty() || ::send(connection, reply.data(), reply.size(), MSG_NOSIGNAL) < 0) break;
  }
  ::close(connection);
}

void tell(int pipe, std::uint16_t port) {
  if (::write(pipe, &port, sizeof port) != sizeof port) std::_Exit(1);
  ::close(pipe);
}

[[noreturn]] void simulate(int pipe, std::uint16_t pdu, Peer::Pace pace) {
  sim::Options options;
  options.port = 0;
  options.pdu = pdu;
  options.jobs = pace.jobs;
  options.latency = pace.latency;
  for (std::uint16_t block = 1; block <= 15; ++block) options.data_blocks.push_back({block, 4000});
  const sim::SimulatedPlc plc(options);
  tell(pipe, plc.port());
  for (;;) ::pause();
}

// The processors that this process was given, and where it was told to run.
const std::vector<std::size_t>& processors() {
  static const std::vector<std::size_t> all = [] {
    std::vector<std::size_t> found;
    cpu_set_t set;
    ::sched_getaffinity(0, sizeof set, &set);
    for (std::size_t i = 0; i < CPU_SETSIZE; ++i) {
      if (CPU_ISSET(i, &set)) found.push_back(i);
    }
    return found;
  }();
  return all;
}
Placement current = Placement::kAnywhere;

void bind_to(const std::vector<std::size_t>& wanted) {
  cpu_set_t set;
  CPU_ZERO(&set);
  for (const std::size_t processor : wanted) CPU_SET(processor, &set);
  if (::sched_setaffinity(0, sizeof set, &set) != 0) fail("sched_setaffinity");
}

}  // namespace

void place(Placement placement) {
  current = placement;
  bind_to(placement == Placement::kAnywhere ? processors()
                                            : std::vector<std::size_t>{processors().back()});
}

int listen_on_a_free_port(std::uint16_t& port) {
  const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  auto* const generic = reinterpret_cast<sockaddr*>(&address);
  if (::bind(listener, generic, size) != 0 || ::listen(listener, SOMAXCONN) != 0 ||
      ::getsockname(listener, generic, &size) != 0) {
    fail("listening");
  }
  port = ntohs(address.sin_port);
  return listener;
}

void answer_on(int listener, std::uint16_t pdu) {
  for (;;) {
    const int connection = ::accept(listener, nullptr, nullptr);
    if (connection >= 0) std::thread(answer, connection, pdu).detach();
  }
}

Peer::Peer(Kind kind, std::uint16_t pdu, Pace pace) {
  std::array<int, 2> ends;
  if (::pipe(ends.data()) != 0) fail("pipe");
  process_ = ::fork();
  if (process_ < 0) fail("fork");
  if (process_ == 0) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::prctl(PR_SET_NAME, "peer");  // for profiles
    ::close(ends[0]);
    if (current == Placement::kOneEach) bind_to({processors().front()});
    if (kind == Kind::kSimulator) simulate(ends[1], pdu, pace);
    std::uint16_t port = 0;
    const int listener = listen_on_a_free_port(port);
    tell(ends[1], port);
    answer_on(listener, pdu);
  }
  ::close(ends[1]);
  const bool told = ::read(ends[0], &port_, sizeof port_) == sizeof port_;
  ::close(ends[0]);
  if (!told) throw std::runtime_error("the peer could not be started");
}

Peer::~Peer() {
  ::kill(process_, SIGKILL);
  ::waitpid(process_, nullptr, 0);
}

}  // namespace plexum::bench
