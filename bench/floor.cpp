#include "bench/floor.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <stdexcept>
#include <utility>

namespace plexum::bench {

void Floor::connect(std::uint16_t port) {
  socket_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_TCP);
  const int on = 1;
  ::setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  if (::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    throw std::runtime_error("the floor's connection failed");
  }
}

void Floor::close() {
  if (const int socket = std::exchange(socket_, -1); socket >= 0) ::close(socket);
}

void Floor::play(const Dialogue& dialogue, std::size_t in_flight) {
  std::size_t sent = 0;
  std::size_t answered = 0;
  std::size_t received = 0;  // bytes of the next answer
  while (answered < dialogue.size()) {
    for (; sent < dialogue.size() && sent - answered < in_flight; ++sent) {
      send(dialogue[sent].telegram);
    }
    received += receive();
    for (; answered < sent && received >= dialogue[answered].answer_size; ++answered) {
      received -= dialogue[answered].answer_size;
    }
  }
}

void Floor::send(const std::string& telegram) {
  if (::send(socket_, telegram.data(), telegram.size(), MSG_NOSIGNAL) !=
      static_cast<ssize_t>(telegram.size())) {
    throw std::runtime_error("the floor's send failed");
  }
}

std::size_t Floor::receive() {
  std::array<char, 16384> answer;
  const ssize_t count = ::recv(socket_, answer.data(), answer.size(), 0);
  if (count <= 0) throw std::runtime_error("the floor got no answer");
  return static_cast<std::size_t>(count);
}

}  // namespace plexum::bench
