#include "activex/registration.h"

#include <string>

#include "activex/com_error.h"
#include "activex/identity.h"
#include "activex/module.h"
#include "activex/registry_key.h"

namespace plexum::activex {
namespace {

constexpr bool kIs64Bit = sizeof(void*) == 8;
constexpr wchar_t kClasses[] = L"Software\\Classes\\";
constexpr const wchar_t* kOwnSystem = kIs64Bit ? L"win64" : L"win32";

// The marshallers of OLE Automation, which work from the type library.
constexpr wchar_t kDualMarshaller[] = L"{00020424-0000-0000-C000-000000000046}";
constexpr wchar_t kDispatchMarshaller[] = L"{00020420-0000-0000-C000-000000000046}";
constexpr wchar_t kCategoryOfControls[] = L"{40FC6ED4-2438-11CF-A3DB-080036F12502}";

std::wstring text_of(const GUID& guid) {
  wchar_t text[39];
  StringFromGUID2(guid, text, 39);
  return text;
}

// As the type library within this file has it.
std::wstring library_id() {
  static const std::wstring kId = [] {
    ComPtr<ITypeLib> library;
    check(LoadTypeLibEx(module_path().c_str(), REGKIND_NONE, library.GetAddressOf()));
    TLIBATTR* attributes = nullptr;
    check(library->GetLibAttr(&attributes));
    const std::wstring id = text_of(attributes->guid);
    library->ReleaseTLibAttr(attributes);
    return id;
  }();
  return kId;
}

std::wstring class_path(const GUID& clsid = __uuidof(::PlexumLink)) {
  return kClasses + (L"CLSID\\" + text_of(clsid));
}
std::wstring library_path() { return kClasses + (L"TypeLib\\" + library_id()); }
std::wstring language_path() { return library_path() + L"\\" + kTypeLibraryVersion + L"\\0"; }
std::wstring interface_path(const GUID& iid) { return kClasses + (L"Interface\\" + text_of(iid)); }

void set(HKEY root, const std::wstring& path, const std::wstring& value,
         const wchar_t* name = nullptr) {
  RegistryKey::create(root, path, kOwnView).set(name, value);
}

void register_server_of(HKEY root, const std::wstring& path, const wchar_t* name,
                        const std::wstring& file) {
  set(root, path, name);
  set(root, path + L"\\InprocServer32", file);
  set(root, path + L"\\InprocServer32", L"Apartment", L"ThreadingModel");
}

void register_class(HKEY root, const std::wstring& file) {
  const std::wstring path = class_path();
  register_server_of(root, path, kFriendlyName, file);
  set(root, path + L"\\ProgID", kVersionedProgId);
  set(root, path + L"\\VersionIndependentProgID", kProgId);
  set(root, path + L"\\TypeLib", library_id());
  set(root, path + L"\\Version", kTypeLibraryVersion);
  set(root, path + L"\\ToolboxBitmap32", file + L", " + std::to_wstring(kToolboxBitmap));
  set(root, path + L"\\MiscStatus", L"0");
  set(root, path + L"\\MiscStatus\\1", std::to_wstring(kMiscStatus));
  for (const wchar_t* mark : {L"\\Control", L"\\Programmable"}) set(root, path + mark, L"");
  set(root, path + L"\\Implemented Categories\\" + kCategoryOfControls, L"");
}

void register_prog_ids(HKEY root) {
  for (const wchar_t* prog_id : {kProgId, kVersionedProgId}) {
    set(root, kClasses + std::wstring(prog_id), kFriendlyName);
    set(root, kClasses + std::wstring(prog_id) + L"\\CLSID", text_of(__uuidof(::PlexumLink)));
  }
  set(root, kClasses + std::wstring(kProgId) + L"\\CurVer", kVersionedProgId);
}

void register_library(HKEY root, const std::wstring& file) {
  const std::wstring version = library_path() + L"\\" + kTypeLibraryVersion;
  set(root, version, kFriendlyName);
  set(root, version + L"\\FLAGS", std::to_wstring(LIBFLAG_FCONTROL));
  set(root, version + L"\\HELPDIR", file.substr(0, file.find_last_of(L'\\')));
  set(root, language_path() + L"\\" + kOwnSystem, file);
}

void register_interface(HKEY root, const GUID& iid, const wchar_t* name,
                        const wchar_t* marshaller) {
  const std::wstring path = interface_path(iid);
  set(root, path, name);
  set(root, path + L"\\ProxyStubClsid32", marshaller);
  set(root, path + L"\\TypeLib", library_id());
  set(root, path + L"\\TypeLib", kTypeLibraryVersion, L"Version");
}

bool other_is_registered(HKEY root) {
  return RegistryKey(root, class_path() + L"\\InprocServer32", kOtherView).is_open();
}

}  // namespace

void register_server(HKEY root) {
  const std::wstring file = module_path();
  try {
    register_class(root, file);
    register_server_of(root, class_path(kPropertyPageId), kPropertyPageName, file);
    register_prog_ids(root);
    register_library(root, file);
    register_interface(root, __uuidof(_PlexumLink), L"_PlexumLink", kDualMarshaller);
    register_interface(root, __uuidof(__PlexumLink), L"__PlexumLink", kDispatchMarshaller);
  } catch (...) {
    try {
      unregister_server(root);
    } catch (...) {
      // What can't be written can't be removed either; the first failure is the one to tell.
    }
    throw;
  }
}

void unregister_server(HKEY root) {
  RegistryKey::remove_tree(root, class_path(), kOwnView);
  RegistryKey::remove_tree(root, class_path(kPropertyPageId), kOwnView);
  RegistryKey::remove_tree(root, interface_path(__uuidof(_PlexumLink)), kOwnView);
  RegistryKey::remove_tree(root, interface_path(__uuidof(__PlexumLink)), kOwnView);
  RegistryKey::remove_tree(root, language_path() + L"\\" + kOwnSystem, kOwnView);
  if (other_is_registered(root)) return;
  // Shared keys are the same in both views, or stand in each, as the system has it.
  for (const REGSAM view : {kOwnView, kOtherView}) {
    RegistryKey::remove_tree(root, library_path(), view);
    for (const wchar_t* prog_id : {kProgId, kVersionedProgId}) {
      RegistryKey::remove_tree(root, kClasses + std::wstring(prog_id), view);
    }
  }
}

}  // namespace plexum::activex
