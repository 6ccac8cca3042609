#include "platform/windows/resolver.h"

#include <atomic>
#include <cstring>
#include <new>
#include <utility>

#include "platform/windows/lock.h"
#include "platform/windows/module.h"
#include "platform/windows/winsock.h"

namespace plexum::windows {
namespace {

std::atomic<int> running_look_ups = 0;

using AddressList = std::unique_ptr<ADDRINFOW, decltype(&FreeAddrInfoW)>;

std::vector<SocketAddress> look_up(const std::wstring& host, int port, int flags) {
  ADDRINFOW hints{};
  hints.ai_flags = flags;
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_protocol = IPPROTO_TCP;
  ADDRINFOW* list = nullptr;
  const std::wstring service = std::to_wstring(port);
  if (GetAddrInfoW(host.c_str(), service.c_str(), &hints, &list) != 0) return {};
  const AddressList owner(list, &FreeAddrInfoW);

  std::vector<SocketAddress> addresses;
  for (const ADDRINFOW* info = list; info != nullptr; info = info->ai_next) {
    if (info->ai_family != AF_INET && info->ai_family != AF_INET6) continue;
    SocketAddress address;
    std::memcpy(&address.storage, info->ai_addr, info->ai_addrlen);
    address.length = static_cast<int>(info->ai_addrlen);
    addresses.push_back(address);
  }
  return addresses;
}

}  // namespace

std::vector<SocketAddress> resolve_literal(const std::wstring& host, int port) {
  return look_up(host, port, AI_NUMERICHOST);
}

// Shared between who asks and the thread that looks up; whoever is last frees it.
struct NameLookUp::Request {
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
struct NameLookUp::Task {
  std::shared_ptr<Request> request;
  HMODULE module = nullptr;
};

NameLookUp::NameLookUp(const std::wstring& host, int port, HWND window, UINT message)
    : request_(std::make_shared<Request>()) {
  request_->host = host;
  request_->port = port;
  request_->window = window;
  request_->message = message;

  auto parameter = std::make_unique<Task>(Task{request_, hold_module()});
  ++running_look_ups;
  const HANDLE thread = parameter->module == nullptr
                            ? nullptr
                            : CreateThread(nullptr, 0, run, parameter.get(), 0, nullptr);
  if (thread != nullptr) {
    static_cast<void>(parameter.release());  // the thread's now
    CloseHandle(thread);
    return;
  }
  --running_look_ups;
  if (parameter->module != nullptr) FreeLibrary(parameter->module);
  request_->answer({});  // without a thread the name stays unknown
}

NameLookUp::~NameLookUp() {
  const Lock guard(request_->lock);
  request_->window = nullptr;
}

bool NameLookUp::done() const {
  const Lock guard(request_->lock);
  return request_->done;
}

const std::vector<SocketAddress>& NameLookUp::addresses() const { return request_->addresses; }

int NameLookUp::running() { return running_look_ups; }

DWORD WINAPI NameLookUp::run(void* parameter) {
  HMODULE module = nullptr;
  {
    const std::unique_ptr<Task> task(static_cast<Task*>(parameter));
    module = task->module;
    Request& request = *task->request;
    const Winsock winsock;  // whoever asked may give up its own before the answer comes
    std::vector<SocketAddress> found;
    try {
      found = look_up(request.host, request.port, 0);
    } catch (const std::bad_alloc&) {
      found.clear();  // as good as an unknown name
    }
    request.answer(std::move(found));
  }
  --running_look_ups;
  FreeLibraryAndExitThread(module, 0);
}

}  // namespace plexum::windows
