#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/windows/windows_headers.h"

namespace plexum::windows {

// One address of a peer.
struct SocketAddress {
  sockaddr_storage storage{};
  int length = 0;

  [[nodiscard]] int family() const noexcept { return storage.ss_family; }
  [[nodiscard]] sockaddr* get() noexcept { return reinterpret_cast<sockaddr*>(&storage); }
  [[nodiscard]] const sockaddr* get() const noexcept {
    return reinterpret_cast<const sockaddr*>(&storage);
  }
};

// The address of a host that is given as an IPv4 or IPv6 address; nothing if it is a name. Looks
// nothing up. An address that means "no particular host" (0.0.0.0, ::) is left out here and below.
std::optional<std::vector<SocketAddress>> numeric_address(const std::wstring& host, int port);

// Looks a host's name up on a thread of its own, because that may take seconds. The thread keeps
// this module loaded; who asked may forget it at any time.
class NameResolution {
 public:
  // Posts `message` to `window` when the answer is there. Asks at once.
  NameResolution(const std::wstring& host, int port, HWND window, UINT message);
  NameResolution(const NameResolution&) = delete;
  NameResolution& operator=(const NameResolution&) = delete;
  ~NameResolution();

  [[nodiscard]] bool done() const;
  // The addresses in the system's order of preference; none when the name is unknown. Only once
  // done.
  [[nodiscard]] const std::vector<SocketAddress>& addresses() const;

  // How many threads are looking up in this module.
  static int threads_running();

 private:
  struct Request;
  struct Task;
  static DWORD WINAPI run(void* parameter);

  std::shared_ptr<Request> request_;
};

}  // namespace plexum::windows
