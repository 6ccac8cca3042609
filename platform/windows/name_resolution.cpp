#include "platform/windows/name_resolution.h"

#include <atomic>
#include <cstring>
#include <new>
#include <utility>

#include "platform/windows/lock.h"
#include "platform/windows/module.h"
#include "platform/windows/winsock.h"

namespace plexum::windows {
namespace {

std::atomic<int> running{0};

bool is_unspecified(const ADDRINFOW& info) {
  if (info.ai_family == AF_INET) {
    sockaddr_in address{};
    std::memcpy(&address, info.ai_addr, sizeof address);
    return address.sin_addr.s_addr == 0;
  }
  sockaddr_in6 address{};
  std::memcpy(&address, info.ai_addr, sizeof address);
  return IN6_IS_ADDR_UNSPECIFIED(&address.sin6_addr);
}

using AddressList = std::unique_ptr<ADDRINFOW, decltype(&FreeAddrInfoW)>;

// Null when the host isn't known.
AddressList look_up(const std::wstring& host, int port, int flags) {
  ADDRINFOW hints{};
  hints.ai_flags = flags;
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_protocol = IPPROTO_TCP;
  ADDRINFOW* list = nullptr;
  const std::wstring service = std::to_wstring(port);
  if (GetAddrInfoW(host.c_str(), service.c_str(), &hints, &list) != 0) list = nullptr;
  return {list, &FreeAddrInfoW};
}

std::vector<SocketAddress> addresses_of(const ADDRINFOW* list) {
  std::vector<SocketAddress> addresses;
  for (const ADDRINFOW* info = list; info != nullptr; info = info->ai_next) {
    if (info->ai_family != AF_INET && info->ai_family != AF_INET6) continue;
    if (is_unspecified(*info)) continue;
    SocketAddress address;
    std::memcpy(&address.storage, info->ai_addr, info->ai_addrlen);
    address.length = static_cast<int>(info->ai_addrlen);
    addresses.push_back(address);
  }
  return addresses;
}

}  // namespace

std::optional<std::vector<SocketAddress>> numeric_address(const std::wstring& host, int port) {
  const AddressList list = look_up(host, port, AI_NUMERICHOST);
  if (list == nullptr) return std::nullopt;
  return addresses_of(list.get());
}

// Shared between who asks and the thread that looks up; whoever is last frees it.
struct NameResolution::Request {
  std::wstring host;
  int port = 0;
  UINT message = 0;

  SRWLOCK lock = SRWLOCK_INIT;
  HWND window = nullptr;  // null once nobody waits for the answer
  bool done = false;
  std::vector<SocketAddress> addresses;

  void answer(std::vector<SocketAddress> found) {
    const Lock guard(lock);
    addresses = std::move(found);
    done = true;
    if (window != nullptr) PostMessageW(window, message, 0, 0);
  }
};

// What the thread owns.
struct NameResolution::Task {
  std::shared_ptr<Request> request;
  HMODULE module = nullptr;
};

NameResolution::NameResolution(const std::wstring& host, int port, HWND window, UINT message)
    : request_(std::make_shared<Request>()) {
  request_->host = host;
  request_->port = port;
  request_->window = window;
  request_->message = message;

  auto parameter = std::make_unique<Task>(Task{request_, hold_module()});
  ++running;
  const HANDLE thread = parameter->module == nullptr
                            ? nullptr
                            : CreateThread(nullptr, 0, run, parameter.get(), 0, nullptr);
  if (thread != nullptr) {
    static_cast<void>(parameter.release());  // the thread's now
    CloseHandle(thread);
    return;
  }
  --running;
  if (parameter->module != nullptr) FreeLibrary(parameter->module);
  request_->answer({});  // without a thread the name stays unknown
}

NameResolution::~NameResolution() {
  const Lock guard(request_->lock);
  request_->window = nullptr;
}

bool NameResolution::done() const {
  const Lock guard(request_->lock);
  return request_->done;
}

const std::vector<SocketAddress>& NameResolution::addresses() const { return request_->addresses; }

int NameResolution::threads_running() { return running; }

DWORD WINAPI NameResolution::run(void* parameter) {
  HMODULE module = nullptr;
  {
    const std::unique_ptr<Task> task(static_cast<Task*>(parameter));
    module = task->module;
    Request& request = *task->request;
    const Winsock winsock;  // whoever asked may give up its own before the answer comes
    std::vector<SocketAddress> found;
    try {
      if (const AddressList list = look_up(request.host, request.port, 0)) {
        found = addresses_of(list.get());
      }
    } catch (const std::bad_alloc&) {
      found.clear();  // as good as an unknown name
    }
    request.answer(std::move(found));
  }
  --running;
  FreeLibraryAndExitThread(module, 0);
}

}  // namespace plexum::windows
