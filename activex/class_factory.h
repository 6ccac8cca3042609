#pragma once

#include "activex/com_headers.h"

namespace plexum::activex {

// A class object of this module. There are two, one for the control and one for its property page.
// A reference to either keeps the module loaded.
class ClassFactory final : public IClassFactory {
 public:
  // The one of the class; null for any other.
  static ClassFactory* of(REFCLSID clsid);

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
  ULONG STDMETHODCALLTYPE AddRef() override;
  ULONG STDMETHODCALLTYPE Release() override;

  // Aggregation is refused.
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** object) override;
  HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override;

 private:
  using Create = HRESULT (*)(REFIID iid, void** object) noexcept;

  explicit ClassFactory(Create create) : create_(create) {}
  ~ClassFactory() = default;

  const Create create_;
};

}  // namespace plexum::activex
