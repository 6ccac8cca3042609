#include "activex/persistence.h"

#include "activex/hosting.h"
#include "activex/stored_properties.h"

namespace plexum::activex {
namespace {

// The stream within a storage that the properties are in.
constexpr wchar_t kStreamName[] = L"Contents";

}  // namespace

HRESULT Persistence::GetClassID(CLSID* clsid) {
  if (clsid == nullptr) return E_POINTER;
  *clsid = __uuidof(::PlexumLink);
  return S_OK;
}

HRESULT Persistence::InitNew() {
  return run_hosting([&] {
    object_.core().UserControl_InitProperties();
    loaded();
  });
}

HRESULT Persistence::InitNew(IStorage* storage) {
  return storage == nullptr ? E_POINTER : InitNew();
}

HRESULT Persistence::Load(IPropertyBag* bag, IErrorLog* log) {
  return run_hosting([&] {
    ContainerPropertyBag properties(needed(bag), log);
    object_.core().UserControl_ReadProperties(properties);
    loaded();
  });
}

// A value equal to its default is not stored, also when the container asks for all: a bag without
// it gives the default back.
HRESULT Persistence::Save(IPropertyBag* bag, WINBOOL clear_dirty, WINBOOL) {
  return run_hosting([&] {
    ContainerPropertyBag properties(needed(bag), nullptr);
    object_.core().UserControl_WriteProperties(properties);
    if (clear_dirty) is_dirty_ = false;
  });
}

HRESULT Persistence::Load(IStream* stream) {
  return run_hosting([&] { load(needed(stream)); });
}

HRESULT Persistence::Save(IStream* stream, WINBOOL clear_dirty) {
  return run_hosting([&] {
    save(needed(stream));
    if (clear_dirty) is_dirty_ = false;
  });
}

HRESULT Persistence::GetSizeMax(ULARGE_INTEGER* size) {
  return run_hosting([&] {
    needed(size)->QuadPart = 0;
    StoredProperties properties(hosting_.extent());
    object_.core().UserControl_WriteProperties(properties);
    size->QuadPart = properties.encoded().size();
  });
}

HRESULT Persistence::Load(IStorage* storage) {
  return run_hosting([&] {
    ComPtr<IStream> stream;
    check(needed(storage)->OpenStream(kStreamName, nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0,
                                      &stream));
    load(stream.Get());
  });
}

HRESULT Persistence::Save(IStorage* storage, WINBOOL) {
  return run_hosting([&] {
    ComPtr<IStream> stream;
    check(needed(storage)->CreateStream(
        kStreamName, STGM_READWRITE | STGM_SHARE_EXCLUSIVE | STGM_CREATE, 0, 0, &stream));
    save(stream.Get());
    check(WriteClassStg(storage, __uuidof(::PlexumLink)));
    is_dirty_ = false;
  });
}

// All of the stream is read and understood before anything of the control is changed.
void Persistence::load(IStream* stream) {
  StoredProperties properties = StoredProperties::read(*stream);
  object_.core().UserControl_ReadProperties(properties);
  hosting_.set_extent(properties.extent());
  loaded();
}

void Persistence::save(IStream* stream) {
  StoredProperties properties(hosting_.extent());
  object_.core().UserControl_WriteProperties(properties);
  properties.write(*stream);
}

void Persistence::loaded() {
  is_dirty_ = false;
  hosting_.connection_points().notify_change(DISPID_UNKNOWN);
}

}  // namespace plexum::activex
