#pragma once

#include <string>

#include "activex/com_headers.h"

namespace plexum::activex {

// The two views of the registry that a 64-bit Windows keeps.
inline constexpr REGSAM kOwnView = sizeof(void*) == 8 ? KEY_WOW64_64KEY : KEY_WOW64_32KEY;
inline constexpr REGSAM kOtherView = sizeof(void*) == 8 ? KEY_WOW64_32KEY : KEY_WOW64_64KEY;

// An open key below HKEY_LOCAL_MACHINE or HKEY_CURRENT_USER, in one view.
class RegistryKey {
 public:
  // Opens the key, and makes it if need be. ComError on failure.
  static RegistryKey create(HKEY root, const std::wstring& path, REGSAM view);

  // Opens an existing key; is_open() tells.
  RegistryKey(HKEY root, const std::wstring& path, REGSAM view, REGSAM access = KEY_READ) noexcept;
  ~RegistryKey();
  RegistryKey(const RegistryKey&) = delete;
  RegistryKey& operator=(const RegistryKey&) = delete;

  [[nodiscard]] bool is_open() const noexcept { return key_ != nullptr; }

  // Sets a text value; an empty name is the key's default value.
  void set(const wchar_t* name, const std::wstring& value);

  // Deletes a key and all below it; one that isn't there is no failure.
  static void remove_tree(HKEY root, const std::wstring& path, REGSAM view);

 private:
  explicit RegistryKey(HKEY key) noexcept : key_(key) {}

  HKEY key_ = nullptr;
};

}  // namespace plexum::activex
