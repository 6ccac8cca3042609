#include "platform/windows/module.h"

namespace plexum::windows {
namespace {

HMODULE module_of_this_code(DWORD flags) {
  static const char kInThisModule = 0;
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | flags,
                     reinterpret_cast<LPCWSTR>(&kInThisModule), &module);
  return module;
}

}  // namespace

HINSTANCE this_module() {
  return module_of_this_code(GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT);
}

void pin_module() {
  static const HMODULE pinned = module_of_this_code(GET_MODULE_HANDLE_EX_FLAG_PIN);
  static_cast<void>(pinned);
}

HMODULE hold_module() { return module_of_this_code(0); }

}  // namespace plexum::windows
