#include "activex/registry_key.h"

#include "activex/com_error.h"

namespace plexum::activex {
namespace {

void check_system(LSTATUS status) {
  if (status != ERROR_SUCCESS) throw ComError(HRESULT_FROM_WIN32(static_cast<DWORD>(status)));
}

}  // namespace

RegistryKey RegistryKey::create(HKEY root, const std::wstring& path, REGSAM view) {
  HKEY key = nullptr;
  check_system(RegCreateKeyExW(root, path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                               KEY_WRITE | view, nullptr, &key, nullptr));
  return RegistryKey(key);
}

RegistryKey::RegistryKey(HKEY root, const std::wstring& path, REGSAM view, REGSAM access) noexcept {
  if (RegOpenKeyExW(root, path.c_str(), 0, access | view, &key_) != ERROR_SUCCESS) key_ = nullptr;
}

RegistryKey::~RegistryKey() {
  if (key_ != nullptr) RegCloseKey(key_);
}

void RegistryKey::set(const wchar_t* name, const std::wstring& value) {
  check_system(RegSetValueExW(key_, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                              static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t))));
}

void RegistryKey::remove_tree(HKEY root, const std::wstring& path, REGSAM view) {
  for (;;) {  // ends with the last child, since each pass removes one or throws
    const RegistryKey key(root, path, view);
    if (!key.is_open()) break;
    wchar_t child[256];
    DWORD length = 256;
    if (RegEnumKeyExW(key.key_, 0, child, &length, nullptr, nullptr, nullptr, nullptr) !=
        ERROR_SUCCESS) {
      break;
    }
    remove_tree(root, path + L'\\' + child, view);
  }
  const LSTATUS status = RegDeleteKeyExW(root, path.c_str(), view, 0);
  if (status != ERROR_FILE_NOT_FOUND) check_system(status);
}

}  // namespace plexum::activex
