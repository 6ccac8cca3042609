#include "activex/class_factory.h"

#include "activex/identity.h"
#include "activex/link_object.h"
#include "activex/module.h"
#include "activex/property_page.h"

namespace plexum::activex {

ClassFactory* ClassFactory::of(REFCLSID clsid) {
  static ClassFactory controls(LinkObject::create);
  static ClassFactory property_pages(PropertyPage::create);
  if (clsid == __uuidof(::PlexumLink)) return &controls;
  if (clsid == kPropertyPageId) return &property_pages;
  return nullptr;
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
  return create_(iid, object);
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
