#include "platform/posix/resolver.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <pthread.h>

#include <atomic>
#include <csignal>
#include <cstring>
#include <memory>
#include <system_error>
#include <thread>
#include <utility>

namespace plexum::posix {
namespace {

// A name server that doesn't answer holds a thread for half a minute. So a host that connects and
// gives up again and again gets no more threads than these.
constexpr int kMostLookUps = 32;
std::atomic<int> running_look_ups = 0;

std::vector<SocketAddress> look_up(const std::string& host, std::uint16_t port, int flags) {
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = flags | AI_NUMERICSERV;
  addrinfo* first = nullptr;
  if (::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &first) != 0) return {};
  const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> owner(first, &::freeaddrinfo);

  std::vector<SocketAddress> addresses;
  for (const addrinfo* entry = first; entry != nullptr; entry = entry->ai_next) {
    if (entry->ai_family != AF_INET && entry->ai_family != AF_INET6) continue;
    SocketAddress& address = addresses.emplace_back();
    std::memcpy(&address.storage, entry->ai_addr, entry->ai_addrlen);
    address.length = entry->ai_addrlen;
  }
  return addresses;
}

// Signals are the host's own: while this lives, a new thread starts with all of them blocked.
class SignalBlock {
 public:
  SignalBlock() {
    sigset_t all;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  SignalBlock(const SignalBlock&) = delete;
  SignalBlock& operator=(const SignalBlock&) = delete;
  ~SignalBlock() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

 private:
  sigset_t before_{};
};

}  // namespace

std::vector<SocketAddress> resolve_literal(const std::string& host, std::uint16_t port) {
  // The usual form goes a faster way; "127.1" and the like need the general one.
  sockaddr_in in{};
  if (::inet_pton(AF_INET, host.c_str(), &in.sin_addr) == 1) {
    in.sin_family = AF_INET;
    in.sin_port = htons(port);
    std::vector<SocketAddress> addresses(1);
    std::memcpy(&addresses[0].storage, &in, sizeof in);
    addresses[0].length = sizeof in;
    return addresses;
  }
  return look_up(host, port, AI_NUMERICHOST);
}

void resolve_name(std::string host, std::uint16_t port, EventLoop::Poster poster,
                  std::function<void(std::vector<SocketAddress>)> done) {
  const auto fail = [poster, done] { poster.post([done] { done({}); }); };
  if (++running_look_ups > kMostLookUps) {
    --running_look_ups;
    fail();
    return;
  }
  try {
    const SignalBlock block;
    std::thread([host = std::move(host), port, poster = std::move(poster),
                 done = std::move(done)]() mutable {
      std::vector<SocketAddress> addresses = look_up(host, port, 0);
      --running_look_ups;
      poster.post([done = std::move(done), addresses = std::move(addresses)]() mutable {
        done(std::move(addresses));
      });
    }).detach();
  } catch (const std::system_error&) {  // no thread to be had
    --running_look_ups;
    fail();
  }
}

}  // namespace plexum::posix
