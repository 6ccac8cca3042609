#include "activex/ole_object.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "activex/enumeration.h"
#include "activex/hosting.h"
#include "activex/identity.h"
#include "activex/task_memory.h"

namespace plexum::activex {
namespace {

constexpr wchar_t kPropertiesVerb[] = L"&Properties...";
constexpr LONG kPropertiesOfMenu = 1;  // the same verb, for menus of containers

}  // namespace

// The list of verbs has one entry; its name is the caller's to free.
inline void hand_out(const OLEVERB& verb, OLEVERB* place) {
  *place = verb;
  place->lpszVerbName = task_text(verb.lpszVerbName);
}

HRESULT OleObject::SetClientSite(IOleClientSite* site) {
  return run_hosting([&] { hosting_.set_site(site); });
}

HRESULT OleObject::GetClientSite(IOleClientSite** site) {
  if (site == nullptr) return E_POINTER;
  *site = hosting_.site().get();
  if (*site != nullptr) (*site)->AddRef();
  return S_OK;
}

HRESULT OleObject::Close(DWORD option) {
  return run_hosting([&] {
    const ComPtr<IOleClientSite> site(hosting_.site().get());
    const ComPtr<IOleAdviseHolder> sinks = sinks_;  // a sink may close the control again
    if (option != OLECLOSE_NOSAVE && site && hosting_.persistence().is_dirty()) {
      check(site->SaveObject());
      if (sinks) sinks->SendOnSave();
    }
    hosting_.in_place().deactivate();
    object_.close_connection();
    if (sinks) sinks->SendOnClose();
    hosting_.view().release();
    sinks_.Reset();
  });
}

HRESULT OleObject::GetMoniker(DWORD, DWORD, IMoniker** moniker) {
  if (moniker == nullptr) return E_POINTER;
  *moniker = nullptr;
  return E_NOTIMPL;
}

HRESULT OleObject::GetClipboardData(DWORD, IDataObject** data) {
  if (data == nullptr) return E_POINTER;
  *data = nullptr;
  return E_NOTIMPL;
}

HRESULT OleObject::DoVerb(LONG verb, LPMSG, IOleClientSite* site, LONG, HWND parent,
                          LPCRECT position) {
  return run_hosting([&]() -> HRESULT {
    if (hosting_.site().get() == nullptr && site != nullptr) hosting_.set_site(site);
    switch (verb) {
      case OLEIVERB_PRIMARY:
      case OLEIVERB_UIACTIVATE:
        hosting_.in_place().activate(true);
        return S_OK;
      case OLEIVERB_SHOW:
      case OLEIVERB_INPLACEACTIVATE:
        hosting_.in_place().activate(false);
        return S_OK;
      case OLEIVERB_HIDE:
        hosting_.in_place().hide();
        return S_OK;
      case OLEIVERB_PROPERTIES:
      case kPropertiesOfMenu:
        show_properties(parent, position);
        return S_OK;
      default:
        // Negative verbs that the control doesn't have: a window of its own, undo. Positive verbs
        // are the control's own; an unknown one does what the primary verb does.
        if (verb <= 0) return E_NOTIMPL;
        hosting_.in_place().activate(true);
        return OLEOBJ_S_INVALIDVERB;
    }
  });
}

HRESULT OleObject::EnumVerbs(IEnumOLEVERB** verbs) {
  if (verbs == nullptr) return E_POINTER;
  *verbs = nullptr;
  return guarded([&] {
    std::vector<OLEVERB> all{{kPropertiesOfMenu, const_cast<LPOLESTR>(kPropertiesVerb), MF_STRING,
                              OLEVERBATTRIB_ONCONTAINERMENU}};
    Enumeration<IEnumOLEVERB, OLEVERB, OLEVERB>::create(std::move(all), verbs);
  });
}

HRESULT OleObject::GetUserClassID(CLSID* clsid) {
  if (clsid == nullptr) return E_POINTER;
  *clsid = __uuidof(::PlexumLink);
  return S_OK;
}

HRESULT OleObject::GetUserType(DWORD, LPOLESTR* type) {
  if (type == nullptr) return E_POINTER;
  *type = nullptr;
  return guarded([&] { *type = task_text(kDescription); });
}

HRESULT OleObject::SetExtent(DWORD aspect, SIZEL* size) {
  return run_hosting([&] {
    if (aspect != DVASPECT_CONTENT) throw ComError(DV_E_DVASPECT);
    hosting_.set_extent(*needed(size));
  });
}

HRESULT OleObject::GetExtent(DWORD aspect, SIZEL* size) {
  if (size == nullptr) return E_POINTER;
  if (aspect != DVASPECT_CONTENT) return DV_E_DVASPECT;
  *size = hosting_.extent();
  return S_OK;
}

HRESULT OleObject::Advise(IAdviseSink* sink, DWORD* connection) {
  return run_hosting([&] {
    if (!sinks_) check(CreateOleAdviseHolder(&sinks_));
    check(sinks_->Advise(sink, connection));
  });
}

HRESULT OleObject::Unadvise(DWORD connection) {
  return run_hosting([&] { return sinks_ ? sinks_->Unadvise(connection) : OLE_E_NOCONNECTION; });
}

HRESULT OleObject::EnumAdvise(IEnumSTATDATA** connections) {
  if (connections == nullptr) return E_POINTER;
  *connections = nullptr;
  return run_hosting([&] { return sinks_ ? sinks_->EnumAdvise(connections) : S_OK; });
}

HRESULT OleObject::GetMiscStatus(DWORD aspect, DWORD* status) {
  if (status == nullptr) return E_POINTER;
  *status = aspect == DVASPECT_CONTENT ? kMiscStatus : 0;
  return S_OK;
}

HRESULT OleObject::GetControlInfo(CONTROLINFO* information) {
  if (information == nullptr) return E_POINTER;
  if (information->cb < sizeof(CONTROLINFO)) return E_INVALIDARG;
  *information = {sizeof(CONTROLINFO), nullptr, 0, 0};
  return S_OK;
}

HRESULT OleObject::OnAmbientPropertyChange(DISPID property) {
  return run_hosting([&] {
    hosting_.ambient_changed(property);
    hosting_.in_place().ambient_changed();
    hosting_.view().changed();
  });
}

// Only what the callers' sizes cover is read and written: the older form of QACONTAINER, which VB6
// and .NET's AxHost pass, ends at pBindHost, and later forms may be longer.
HRESULT OleObject::QuickActivate(QACONTAINER* offered, QACONTROL* control) {
  return run_hosting([&] {
    if (needed(offered)->cbSize < offsetof(QACONTAINER, dwAmbientFlags) ||
        needed(control)->cbSize < offsetof(QACONTROL, dwMiscStatus)) {
      throw ComError(E_INVALIDARG);
    }
    const auto has_room_for = [control](std::size_t offset) {
      return control->cbSize >= offset + sizeof(DWORD);
    };
    QACONTROL filled{control->cbSize, kMiscStatus, VIEWSTATUS_OPAQUE, 0, 0, 0};
    hosting_.set_site(offered->pClientSite);
    if (offered->pAdviseSink != nullptr) {
      check(hosting_.view().SetAdvise(DVASPECT_CONTENT, 0, offered->pAdviseSink));
    }
    // No connection without a place for its cookie: its client couldn't end it.
    if (offered->pPropertyNotifySink != nullptr &&
        has_room_for(offsetof(QACONTROL, dwPropNotifyCookie))) {
      check(hosting_.connection_points().property_changes().Advise(offered->pPropertyNotifySink,
                                                                   &filled.dwPropNotifyCookie));
    }
    if (offered->pUnkEventSink != nullptr && has_room_for(offsetof(QACONTROL, dwEventCookie))) {
      // There are no events, so a client that can't take them misses none.
      hosting_.connection_points().events().Advise(offered->pUnkEventSink, &filled.dwEventCookie);
    }
    std::memcpy(control, &filled, std::min<std::size_t>(control->cbSize, sizeof filled));
  });
}

HRESULT OleObject::SetContentExtent(LPSIZEL size) { return SetExtent(DVASPECT_CONTENT, size); }

HRESULT OleObject::GetContentExtent(LPSIZEL size) { return GetExtent(DVASPECT_CONTENT, size); }

HRESULT OleObject::GetPages(CAUUID* pages) {
  return run_hosting([&] {
    *needed(pages) = {};
    pages->pElems = static_cast<GUID*>(task_memory(sizeof(GUID)));
    *pages->pElems = kPropertyPageId;
    pages->cElems = 1;
  });
}

void OleObject::show_properties(HWND parent, LPCRECT position) {
  // The container may have a frame of its own, with its own pages beside.
  const auto site = hosting_.site().as<IOleControlSite>();
  if (site && site->ShowPropertyFrame() == S_OK) return;
  IUnknown* object = static_cast<IOleObject*>(this);
  CLSID page = kPropertyPageId;
  const POINT corner = position == nullptr ? POINT{} : POINT{position->left, position->top};
  hosting_.in_place().enable_modeless(false);
  const HRESULT result =
      OleCreatePropertyFrame(parent, static_cast<UINT>(corner.x), static_cast<UINT>(corner.y),
                             kDescription, 1, &object, 1, &page, LOCALE_USER_DEFAULT, 0, nullptr);
  hosting_.in_place().enable_modeless(true);
  check(result);
}

}  // namespace plexum::activex
