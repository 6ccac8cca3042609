#include "activex/class_factory.h"

#include "activex/link_object.h"
#include "activex/module.h"

namespace plexum::activex {

ClassFactory& ClassFactory::instance() {
  static ClassFactory factory;
  return factory;
}

HRESULT ClassFactory::QueryInterface(REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (iid != __uuidof(IUnknown) && iid != __uuidof(IClassFactory)) return E_NOINTERFACE;
  *object = static_cast<IClassFactory*>(this);
  AddRef();
  return S_OK;
}

ULONG ClassFactory::AddRef() {
  ModuleLock::add();
  return 2;
}

ULONG ClassFactory::Release() {
  ModuleLock::remove();
  return 1;
}

HRESULT ClassFactory::CreateInstance(IUnknown* outer, REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (outer != nullptr) return CLASS_E_NOAGGREGATION;
  return LinkObject::create(iid, object);
}

HRESULT ClassFactory::LockServer(BOOL lock) {
  if (lock) {
    ModuleLock::add();
  } else {
    ModuleLock::remove();
  }
  return S_OK;
}

}  // namespace plexum::activex
