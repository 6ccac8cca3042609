#pragma once

#include "activex/hosting_part.h"

namespace plexum::activex {

// How a container keeps the control's properties: name by name in a property bag, or as one piece
// in a stream or a storage (stored_properties.h).
class Persistence final
    : public HostingPart<IPersistStreamInit, IPersistPropertyBag, IPersistStorage> {
 public:
  using HostingPart::HostingPart;
  ~Persistence() = default;

  // IPersist
  HRESULT STDMETHODCALLTYPE GetClassID(CLSID* clsid) override;

  // IPersistStreamInit
  HRESULT STDMETHODCALLTYPE IsDirty() override { return is_dirty_ ? S_OK : S_FALSE; }
  HRESULT STDMETHODCALLTYPE Load(IStream* stream) override;
  HRESULT STDMETHODCALLTYPE Save(IStream* stream, WINBOOL clear_dirty) override;
  HRESULT STDMETHODCALLTYPE GetSizeMax(ULARGE_INTEGER* size) override;
  HRESULT STDMETHODCALLTYPE InitNew() override;

  // IPersistPropertyBag
  HRESULT STDMETHODCALLTYPE Load(IPropertyBag* bag, IErrorLog* log) override;
  HRESULT STDMETHODCALLTYPE Save(IPropertyBag* bag, WINBOOL clear_dirty, WINBOOL all) override;

  // IPersistStorage
  HRESULT STDMETHODCALLTYPE InitNew(IStorage* storage) override;
  HRESULT STDMETHODCALLTYPE Load(IStorage* storage) override;
  HRESULT STDMETHODCALLTYPE Save(IStorage* storage, WINBOOL same) override;
  HRESULT STDMETHODCALLTYPE SaveCompleted(IStorage*) override { return S_OK; }
  HRESULT STDMETHODCALLTYPE HandsOffStorage() override { return S_OK; }

  // Whether something has changed since it was last loaded or saved.
  [[nodiscard]] bool is_dirty() const noexcept { return is_dirty_; }
  void mark_dirty() noexcept { is_dirty_ = true; }

 private:
  void load(IStream* stream);
  void save(IStream* stream);
  void loaded();

  bool is_dirty_ = false;
};

}  // namespace plexum::activex
