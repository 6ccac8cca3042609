#pragma once

#include "activex/com_headers.h"

namespace plexum::activex {

// A class object of this module, of the control or of its property page; there is one for each, and
// their references hold the module.
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
