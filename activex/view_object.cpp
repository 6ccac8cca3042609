#include "activex/view_object.h"

#include <vector>

#include "activex/enumeration.h"
#include "activex/hosting.h"
#include "activex/metafile.h"

namespace plexum::activex {
namespace {

constexpr LONG kWhole = -1;  // the only index there is

HRESULT check_aspect(DWORD aspect, LONG index) {
  if (aspect != DVASPECT_CONTENT) return DV_E_DVASPECT;
  return index == kWhole ? S_OK : DV_E_LINDEX;
}

// Draws in the device's own units, so that the fonts are sharp, wherever the container's mapping
// mode, origins and world transform put the bounds. Metafiles have no device, and a rotated face is
// no rectangle there: both are drawn in the container's units.
void draw_face(HDC dc, RECT bounds, const FaceState& state) {
  const bool is_metafile =
      GetDeviceCaps(dc, TECHNOLOGY) == DT_METAFILE || GetObjectType(dc) == OBJ_ENHMETADC;
  XFORM world{};
  const bool is_rotated = GetGraphicsMode(dc) == GM_ADVANCED && GetWorldTransform(dc, &world) &&
                          (world.eM12 != 0 || world.eM21 != 0);
  const int saved = SaveDC(dc);
  if (!is_metafile && !is_rotated) {
    LPtoDP(dc, reinterpret_cast<POINT*>(&bounds), 2);
    ModifyWorldTransform(dc, nullptr, MWT_IDENTITY);  // fails where there is none
    SetMapMode(dc, MM_TEXT);
    SetWindowOrgEx(dc, 0, 0, nullptr);
    SetViewportOrgEx(dc, 0, 0, nullptr);
  }
  if (bounds.right < bounds.left) std::swap(bounds.left, bounds.right);
  if (bounds.bottom < bounds.top) std::swap(bounds.top, bounds.bottom);
  Face(bounds).draw(dc, state);
  RestoreDC(dc, saved);
}

FORMATETC picture_format(CLIPFORMAT format, DWORD medium) {
  return {format, nullptr, DVASPECT_CONTENT, kWhole, medium};
}

const std::vector<FORMATETC>& picture_formats() {
  static const std::vector<FORMATETC> kFormats{picture_format(CF_ENHMETAFILE, TYMED_ENHMF),
                                               picture_format(CF_METAFILEPICT, TYMED_MFPICT)};
  return kFormats;
}

HRESULT check_format(const FORMATETC& format) {
  HRESULT result = DV_E_FORMATETC;
  for (const FORMATETC& offered : picture_formats()) {
    if (offered.cfFormat != format.cfFormat) continue;
    result = check_aspect(format.dwAspect, format.lindex);
    if (result == S_OK && (format.tymed & offered.tymed) == 0) result = DV_E_TYMED;
  }
  return result;
}

}  // namespace

HRESULT ViewObject::Draw(DWORD aspect, LONG index, void*, DVTARGETDEVICE*, HDC, HDC dc,
                         LPCRECTL bounds, LPCRECTL, WINBOOL(STDMETHODCALLTYPE*)(ULONG_PTR),
                         ULONG_PTR) {
  return run_hosting([&] {
    check(check_aspect(aspect, index));
    if (dc == nullptr || bounds == nullptr) throw ComError(E_INVALIDARG);
    draw_face(dc, {bounds->left, bounds->top, bounds->right, bounds->bottom},
              hosting_.face_state());
  });
}

HRESULT ViewObject::GetColorSet(DWORD, LONG, void*, DVTARGETDEVICE*, HDC, LOGPALETTE** colors) {
  if (colors == nullptr) return E_POINTER;
  *colors = nullptr;
  return S_FALSE;
}

HRESULT ViewObject::SetAdvise(DWORD aspects, DWORD flags, IAdviseSink* sink) {
  return run_hosting([&] {
    aspects_ = aspects;
    flags_ = flags;
    ComPtr<IAdviseSink> added(sink);
    view_sink_.Swap(added);  // the old one's end may call in again
    if (flags & ADVF_PRIMEFIRST) changed();
  });
}

HRESULT ViewObject::GetAdvise(DWORD* aspects, DWORD* flags, IAdviseSink** sink) {
  if (aspects != nullptr) *aspects = aspects_;
  if (flags != nullptr) *flags = flags_;
  if (sink != nullptr) view_sink_.CopyTo(sink);
  return S_OK;
}

HRESULT ViewObject::GetExtent(DWORD aspect, LONG index, DVTARGETDEVICE*, LPSIZEL size) {
  if (size == nullptr) return E_POINTER;
  *size = {0, 0};
  const HRESULT result = check_aspect(aspect, index);
  if (result == S_OK) *size = hosting_.extent();
  return result;
}

HRESULT ViewObject::GetData(FORMATETC* format, STGMEDIUM* medium) {
  return run_hosting([&] {
    *needed(medium) = {};
    check(check_format(*needed(format)));
    const FaceState state = hosting_.face_state();
    if (format->cfFormat == CF_ENHMETAFILE) {
      medium->hEnhMetaFile = make_enhanced_metafile(hosting_.extent(), state);
      medium->tymed = TYMED_ENHMF;
    } else {
      medium->hGlobal = make_metafile_picture(hosting_.extent(), state);
      medium->tymed = TYMED_MFPICT;
    }
  });
}

HRESULT ViewObject::QueryGetData(FORMATETC* format) {
  return format == nullptr ? E_POINTER : check_format(*format);
}

HRESULT ViewObject::GetCanonicalFormatEtc(FORMATETC* format, FORMATETC* same) {
  if (format == nullptr || same == nullptr) return E_POINTER;
  *same = *format;
  same->ptd = nullptr;  // one picture for all devices
  return DATA_S_SAMEFORMATETC;
}

HRESULT ViewObject::EnumFormatEtc(DWORD direction, IEnumFORMATETC** formats) {
  if (formats == nullptr) return E_POINTER;
  *formats = nullptr;
  if (direction != DATADIR_GET) return E_NOTIMPL;
  return guarded([&] {
    Enumeration<IEnumFORMATETC, FORMATETC, FORMATETC>::create(picture_formats(), formats);
  });
}

HRESULT ViewObject::DAdvise(FORMATETC* format, DWORD flags, IAdviseSink* sink, DWORD* connection) {
  return run_hosting([&] {
    if (!data_sinks_) check(CreateDataAdviseHolder(&data_sinks_));
    check(data_sinks_->Advise(this, format, flags, sink, connection));
  });
}

HRESULT ViewObject::DUnadvise(DWORD connection) {
  return run_hosting(
      [&] { return data_sinks_ ? data_sinks_->Unadvise(connection) : OLE_E_NOCONNECTION; });
}

HRESULT ViewObject::EnumDAdvise(IEnumSTATDATA** connections) {
  if (connections == nullptr) return E_POINTER;
  *connections = nullptr;
  return run_hosting([&] { return data_sinks_ ? data_sinks_->EnumAdvise(connections) : S_OK; });
}

void ViewObject::changed() {
  const ComPtr<IDataAdviseHolder> data_sinks = data_sinks_;
  const ComPtr<IAdviseSink> sink = view_sink_;
  if (flags_ & ADVF_ONLYONCE) view_sink_.Reset();
  if (sink) sink->OnViewChange(DVASPECT_CONTENT, kWhole);
  if (data_sinks) data_sinks->SendOnDataChange(this, 0, 0);
}

void ViewObject::release() {
  ComPtr<IAdviseSink> sink;
  sink.Swap(view_sink_);
  ComPtr<IDataAdviseHolder> data_sinks;
  data_sinks.Swap(data_sinks_);
}

}  // namespace plexum::activex
