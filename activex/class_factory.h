#pragma once

#include "activex/com_headers.h"

namespace plexum::activex {

// The class object of PlexumLink: one for the life of the module, which its references hold.
class ClassFactory final : public IClassFactory {
 public:
  static ClassFactory& instance();

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
  ULONG STDMETHODCALLTYPE AddRef() override;
  ULONG STDMETHODCALLTYPE Release() override;

  // Aggregation is refused.
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** object) override;
  HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override;

 private:
  ClassFactory() = default;
  ~ClassFactory() = default;
};

}  // namespace plexum::activex
