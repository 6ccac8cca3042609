// What the system's loader and registration tools call in this file.
#include <cwchar>

#include "activex/class_factory.h"
#include "activex/com_error.h"
#include "activex/com_headers.h"
#include "activex/module.h"
#include "activex/registration.h"

using plexum::activex::ClassFactory;
using plexum::activex::guarded;
using plexum::activex::ModuleLock;
using plexum::activex::register_server;
using plexum::activex::unregister_server;

STDAPI DllGetClassObject(REFCLSID clsid, REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  ClassFactory* factory = ClassFactory::of(clsid);
  return factory == nullptr ? CLASS_E_CLASSNOTAVAILABLE : factory->QueryInterface(iid, object);
}

STDAPI DllCanUnloadNow() { return ModuleLock::none() ? S_OK : S_FALSE; }

STDAPI DllRegisterServer() {
  return guarded([] { register_server(HKEY_LOCAL_MACHINE); });
}

STDAPI DllUnregisterServer() {
  return guarded([] { unregister_server(HKEY_LOCAL_MACHINE); });
}

// With the command line "user" the control is registered for the current user alone, which needs
// no administrator; without one, for all users.
STDAPI DllInstall(BOOL install, PCWSTR command_line) {
  HKEY root = HKEY_LOCAL_MACHINE;
  if (command_line != nullptr && *command_line != L'\0') {
    if (_wcsicmp(command_line, L"user") != 0) return E_INVALIDARG;
    root = HKEY_CURRENT_USER;
  }
  return guarded([=] { install ? register_server(root) : unregister_server(root); });
}
