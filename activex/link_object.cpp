#include "activex/link_object.h"

#include "activex/hosting.h"
#include "activex/late_binding.h"
#include "activex/type_library.h"
#include "platform/windows/bstr.h"
#include "platform/windows/code_page.h"
#include "platform/windows/late_bound_tcp_client.h"

namespace plexum::activex {

LinkObject::Reference::Reference(LinkObject& object) noexcept : object_(object) {
  object_.AddRef();
  ++object_.own_references_;
}

LinkObject::Reference::~Reference() {
  --object_.own_references_;
  object_.Release();
}

LinkObject::MemberCall::MemberCall(LinkObject& object) noexcept
    : reference_(object), floating_point_(object.environment_.floating_point()) {}

HRESULT LinkObject::create(REFIID iid, void** object) noexcept {
  return guarded([&] {
    auto* created = new LinkObject;
    const HRESULT result = created->QueryInterface(iid, object);
    created->Release();
    check(result);
  });
}

LinkObject::LinkObject()
    : tcp_client_(windows::make_tcp_client()),
      link_(environment_, *tcp_client_),
      hosting_(std::make_unique<Hosting>(*this)) {}

LinkObject::~LinkObject() = default;

HRESULT LinkObject::QueryInterface(REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = find_interface(iid);
  if (*object == nullptr) return E_NOINTERFACE;
  AddRef();
  return S_OK;
}

void* LinkObject::find_interface(REFIID iid) noexcept {
  if (iid == __uuidof(IUnknown) || iid == __uuidof(IDispatch) || iid == __uuidof(_PlexumLink)) {
    return static_cast<_PlexumLink*>(this);
  }
  if (iid == __uuidof(ISupportErrorInfo)) return static_cast<ISupportErrorInfo*>(this);
  if (iid == __uuidof(IProvideClassInfo) || iid == __uuidof(IProvideClassInfo2)) {
    return static_cast<IProvideClassInfo2*>(this);
  }
  return hosting_->find_interface(iid);
}

ULONG LinkObject::AddRef() { return ++references_; }

ULONG LinkObject::Release() {
  const ULONG left = --references_;
  if (left == 0) {
    references_ = 1;  // the destructor may take and release references: never 0 again
    delete this;
  } else if (left == own_references_) {
    environment_.abandon();
  }
  return left;
}

ITypeInfo* LinkObject::type_info() {
  if (!type_info_) type_info_ = load_type_info(__uuidof(_PlexumLink));
  return type_info_.Get();
}

HRESULT LinkObject::GetTypeInfoCount(UINT* count) {
  if (count == nullptr) return E_POINTER;
  *count = 1;
  return S_OK;
}

HRESULT LinkObject::GetTypeInfo(UINT index, LCID, ITypeInfo** type) {
  if (type == nullptr) return E_POINTER;
  *type = nullptr;
  if (index != 0) return DISP_E_BADINDEX;
  return guarded([&] { check(type_info()->QueryInterface(IID_PPV_ARGS(type))); });
}

HRESULT LinkObject::GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID, DISPID* ids) {
  if (iid != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
  return guarded([&] { check(DispGetIDsOfNames(type_info(), names, count, ids)); });
}

HRESULT LinkObject::Invoke(DISPID member, REFIID iid, LCID, WORD flags, DISPPARAMS* parameters,
                           VARIANT* result, EXCEPINFO* exception, UINT* argument) {
  if (iid != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
  if (parameters == nullptr) return E_INVALIDARG;
  return run_member([&] {
    check(invoke_late_bound(*type_info(), static_cast<_PlexumLink*>(this),
                            {member, flags, *parameters, result, exception, argument}));
  });
}

HRESULT LinkObject::InterfaceSupportsErrorInfo(REFIID iid) {
  return iid == __uuidof(_PlexumLink) || iid == __uuidof(IDispatch) ? S_OK : S_FALSE;
}

HRESULT LinkObject::GetClassInfo(ITypeInfo** type) {
  if (type == nullptr) return E_POINTER;
  *type = nullptr;
  return guarded([&] { *type = load_type_info(__uuidof(::PlexumLink)).Detach(); });
}

HRESULT LinkObject::GetGUID(DWORD kind, GUID* guid) {
  if (guid == nullptr) return E_POINTER;
  *guid = GUID_NULL;
  if (kind != GUIDKIND_DEFAULT_SOURCE_DISP_IID) return E_INVALIDARG;
  *guid = __uuidof(__PlexumLink);
  return S_OK;
}

DISPID LinkObject::id_of(const std::string& member) {
  std::wstring name = windows::utf16_from_utf8(member);
  LPOLESTR names = name.data();
  DISPID id = DISPID_UNKNOWN;
  check(DispGetIDsOfNames(type_info(), &names, 1, &id));
  return id;
}

void LinkObject::notify_change(const std::string& property) { hosting_->notify_change(property); }

HWND LinkObject::window() { return hosting_->window(); }

void LinkObject::enable_modeless(bool enabled) noexcept {
  hosting_->in_place().enable_modeless(enabled);
}

void LinkObject::refresh_state_label() {
  if (!hosting_->in_place().is_state_label_old()) return;
  const FloatingPointBoundary::Host host(environment_.floating_point());
  hosting_->in_place().refresh_state_label();
}

}  // namespace plexum::activex
