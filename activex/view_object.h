#pragma once

#include "activex/hosting_part.h"

namespace plexum::activex {

// The picture of the control for containers that draw it themselves: at design time, in print, and
// as a metafile.
class ViewObject final : public HostingPart<IViewObject2, IDataObject> {
 public:
  using HostingPart::HostingPart;
  ~ViewObject() = default;

  // IViewObject2
  HRESULT STDMETHODCALLTYPE Draw(DWORD aspect, LONG index, void* aspect_details,
                                 DVTARGETDEVICE* device, HDC information, HDC dc, LPCRECTL bounds,
                                 LPCRECTL metafile_bounds,
                                 WINBOOL(STDMETHODCALLTYPE* proceed)(ULONG_PTR),
                                 ULONG_PTR argument) override;
  HRESULT STDMETHODCALLTYPE GetColorSet(DWORD, LONG, void*, DVTARGETDEVICE*, HDC,
                                        LOGPALETTE** colors) override;
  HRESULT STDMETHODCALLTYPE Freeze(DWORD, LONG, void*, DWORD*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Unfreeze(DWORD) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetAdvise(DWORD aspects, DWORD flags, IAdviseSink* sink) override;
  HRESULT STDMETHODCALLTYPE GetAdvise(DWORD* aspects, DWORD* flags, IAdviseSink** sink) override;
  HRESULT STDMETHODCALLTYPE GetExtent(DWORD aspect, LONG index, DVTARGETDEVICE* device,
                                      LPSIZEL size) override;

  // IDataObject
  HRESULT STDMETHODCALLTYPE GetData(FORMATETC* format, STGMEDIUM* medium) override;
  HRESULT STDMETHODCALLTYPE GetDataHere(FORMATETC*, STGMEDIUM*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE QueryGetData(FORMATETC* format) override;
  HRESULT STDMETHODCALLTYPE GetCanonicalFormatEtc(FORMATETC* format, FORMATETC* same) override;
  HRESULT STDMETHODCALLTYPE SetData(FORMATETC*, STGMEDIUM*, WINBOOL) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE EnumFormatEtc(DWORD direction, IEnumFORMATETC** formats) override;
  HRESULT STDMETHODCALLTYPE DAdvise(FORMATETC* format, DWORD flags, IAdviseSink* sink,
                                    DWORD* connection) override;
  HRESULT STDMETHODCALLTYPE DUnadvise(DWORD connection) override;
  HRESULT STDMETHODCALLTYPE EnumDAdvise(IEnumSTATDATA** connections) override;

  // Tells the container that the control looks different now.
  void changed();
  // Lets go of everybody who wants to be told.
  void release();

 private:
  DWORD aspects_ = 0;
  DWORD flags_ = 0;
  ComPtr<IAdviseSink> view_sink_;
  ComPtr<IDataAdviseHolder> data_sinks_;
};

}  // namespace plexum::activex
