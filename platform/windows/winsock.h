#pragma once

#include <utility>

#include "platform/windows/windows_headers.h"

namespace plexum::windows {

// Winsock, ready for use while this lives; Windows counts the uses.
class Winsock {
 public:
  Winsock() noexcept {
    WSADATA data{};
    started_ = WSAStartup(MAKEWORD(2, 2), &data) == 0;
  }
  Winsock(const Winsock&) = delete;
  Winsock& operator=(const Winsock&) = delete;
  ~Winsock() {
    if (started_) WSACleanup();
  }

 private:
  bool started_ = false;
};

// Owns a socket.
class Socket {
 public:
  Socket() = default;
  explicit Socket(SOCKET socket) noexcept : socket_(socket) {}
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;
  ~Socket() { close(); }

  [[nodiscard]] SOCKET get() const noexcept { return socket_; }
  [[nodiscard]] bool is_open() const noexcept { return socket_ != INVALID_SOCKET; }

  void close() noexcept {
    if (is_open()) closesocket(socket_);
    socket_ = INVALID_SOCKET;
  }
  [[nodiscard]] SOCKET release() noexcept { return std::exchange(socket_, INVALID_SOCKET); }
  void reset(SOCKET socket) noexcept {
    close();
    socket_ = socket;
  }

 private:
  SOCKET socket_ = INVALID_SOCKET;
};

}  // namespace plexum::windows
