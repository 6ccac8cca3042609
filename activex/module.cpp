#include "activex/module.h"

#include <atomic>

#include "activex/com_error.h"
#include "platform/windows/module.h"

namespace plexum::activex {
namespace {

std::atomic<long> lock_count{0};

}  // namespace

std::wstring module_path() {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length =
        GetModuleFileNameW(windows::this_module(), path.data(), static_cast<DWORD>(path.size()));
    if (length == 0) throw ComError(HRESULT_FROM_WIN32(GetLastError()));
    if (length < path.size()) {
      path.resize(length);
      return path;
    }
    path.resize(path.size() * 2);
  }
}

void ModuleLock::add() noexcept { ++lock_count; }

void ModuleLock::remove() noexcept { --lock_count; }

bool ModuleLock::none() noexcept { return lock_count == 0; }

}  // namespace plexum::activex
