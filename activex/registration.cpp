#include "activex/registration.h"

#include <string>
#include <utility>

#include "activex/com_error.h"
#include "activex/identity.h"
#include "activex/module.h"
#include "activex/registry_key.h"

namespace plexum::activex {
namespace {

constexpr wchar_t kClasses[] = L"Software\\Classes\\";
constexpr const wchar_t* kOwnSystem = sizeof(void*) == 8 ? L"win64" : L"win32";

// A text of the identity with its places filled in for this file.
std::wstring filled(std::wstring text, const std::wstring& file) {
  const std::pair<std::wstring_view, std::wstring> places[] = {
      {L"<file>", file},
      {L"<folder>", file.substr(0, file.find_last_of(L'\\'))},
      {L"<system>", kOwnSystem},
  };
  for (const auto& [place, value] : places) {
    const std::size_t at = text.find(place);
    if (at != std::wstring::npos) text.replace(at, place.size(), value);
  }
  return text;
}

std::wstring path_of(const wchar_t* key, const std::wstring& file) {
  return kClasses + filled(key, file);
}

bool other_is_registered(HKEY root) {
  return RegistryKey(root, kClasses + std::wstring(kServerKey), kOtherView).is_open();
}

}  // namespace

void register_server(HKEY root) {
  const std::wstring file = module_path();
  try {
    for (const RegistryValue& value : kRegistryValues) {
      RegistryKey::create(root, path_of(value.key, file), kOwnView)
          .set(value.name, filled(value.text, file));
    }
  } catch (...) {
    try {
      unregister_server(root);
    } catch (...) {
      // What can't be written can't be removed either; the caller hears of the first failure.
    }
    throw;
  }
}

void unregister_server(HKEY root) {
  const std::wstring file = module_path();
  for (const wchar_t* key : kOwnKeys) RegistryKey::remove_tree(root, path_of(key, file), kOwnView);
  if (other_is_registered(root)) return;
  // Windows keeps some keys once for both views and others in each: remove from both.
  for (const REGSAM view : {kOwnView, kOtherView}) {
    for (const wchar_t* key : kSharedKeys) {
      RegistryKey::remove_tree(root, path_of(key, file), view);
    }
  }
}

}  // namespace plexum::activex
