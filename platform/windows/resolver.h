#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/windows/windows_headers.h"

namespace plexum::windows {

// An IPv4 or IPv6 address with its port.
struct SocketAddress {
  sockaddr_storage storage{};
  int length = 0;

  [[nodiscard]] int family() const noexcept { return storage.ss_family; }
  [[nodiscard]] sockaddr* get() noexcept { return reinterpret_cast<sockaddr*>(&storage); }
  [[nodiscard]] const sockaddr* get() const noexcept {
    return reinterpret_cast<const sockaddr*>(&storage);
  }
};

// The address that an IP literal ("10.0.0.5", "::1") names; empty for any other text.
std::vector<SocketAddress> resolve_literal(const std::wstring& host, int port);

// Looks a host name up on a thread of its own, because that may take seconds. The thread keeps this
// module loaded. The look-up may be destroyed at any time.
class NameLookUp {
 public:
  // Posts `message` to `window` when the answer is there. Asks at once.
  NameLookUp(const std::wstring& host, int port, HWND window, UINT message);
  NameLookUp(const NameLookUp&) = delete;
  NameLookUp& operator=(const NameLookUp&) = delete;
  ~NameLookUp();

  [[nodiscard]] bool done() const;
  // Once done: the addresses in the order in which they are to be tried; none if it has none.
  [[nodiscard]] const std::vector<SocketAddress>& addresses() const;

  // How many look-ups run in this module.
  static int running();

 private:
  struct Request;
  struct Task;
  static DWORD WINAPI run(void* parameter);

  std::shared_ptr<Request> request_;
};

}  // namespace plexum::windows
