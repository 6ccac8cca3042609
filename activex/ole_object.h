#pragma once

#include "activex/hosting_part.h"

namespace plexum::activex {

// The control as an embedded object: site, size, verbs, and quick activation, which sets most of it
// in one call.
class OleObject final
    : public HostingPart<IOleObject, IOleControl, IQuickActivate, ISpecifyPropertyPages> {
 public:
  using HostingPart::HostingPart;
  ~OleObject() = default;

  // IOleObject
  HRESULT STDMETHODCALLTYPE SetClientSite(IOleClientSite* site) override;
  HRESULT STDMETHODCALLTYPE GetClientSite(IOleClientSite** site) override;
  HRESULT STDMETHODCALLTYPE SetHostNames(LPCOLESTR, LPCOLESTR) override { return S_OK; }
  HRESULT STDMETHODCALLTYPE Close(DWORD option) override;
  HRESULT STDMETHODCALLTYPE SetMoniker(DWORD, IMoniker*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetMoniker(DWORD, DWORD, IMoniker** moniker) override;
  HRESULT STDMETHODCALLTYPE InitFromData(IDataObject*, WINBOOL, DWORD) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE GetClipboardData(DWORD, IDataObject** data) override;
  HRESULT STDMETHODCALLTYPE DoVerb(LONG verb, LPMSG message, IOleClientSite* site, LONG index,
                                   HWND parent, LPCRECT position) override;
  HRESULT STDMETHODCALLTYPE EnumVerbs(IEnumOLEVERB** verbs) override;
  HRESULT STDMETHODCALLTYPE Update() override { return S_OK; }
  HRESULT STDMETHODCALLTYPE IsUpToDate() override { return S_OK; }
  HRESULT STDMETHODCALLTYPE GetUserClassID(CLSID* clsid) override;
  HRESULT STDMETHODCALLTYPE GetUserType(DWORD form, LPOLESTR* type) override;
  HRESULT STDMETHODCALLTYPE SetExtent(DWORD aspect, SIZEL* size) override;
  HRESULT STDMETHODCALLTYPE GetExtent(DWORD aspect, SIZEL* size) override;
  HRESULT STDMETHODCALLTYPE Advise(IAdviseSink* sink, DWORD* connection) override;
  HRESULT STDMETHODCALLTYPE Unadvise(DWORD connection) override;
  HRESULT STDMETHODCALLTYPE EnumAdvise(IEnumSTATDATA** connections) override;
  HRESULT STDMETHODCALLTYPE GetMiscStatus(DWORD aspect, DWORD* status) override;
  HRESULT STDMETHODCALLTYPE SetColorScheme(LOGPALETTE*) override { return E_NOTIMPL; }

  // IOleControl
  HRESULT STDMETHODCALLTYPE GetControlInfo(CONTROLINFO* information) override;
  HRESULT STDMETHODCALLTYPE OnMnemonic(MSG*) override { return S_OK; }
  HRESULT STDMETHODCALLTYPE OnAmbientPropertyChange(DISPID property) override;
  HRESULT STDMETHODCALLTYPE FreezeEvents(WINBOOL) override { return S_OK; }  // there are none

  // IQuickActivate
  HRESULT STDMETHODCALLTYPE QuickActivate(QACONTAINER* offered, QACONTROL* control) override;
  HRESULT STDMETHODCALLTYPE SetContentExtent(LPSIZEL size) override;
  HRESULT STDMETHODCALLTYPE GetContentExtent(LPSIZEL size) override;

  // ISpecifyPropertyPages
  HRESULT STDMETHODCALLTYPE GetPages(CAUUID* pages) override;

 private:
  void show_properties(HWND parent, LPCRECT position);

  ComPtr<IOleAdviseHolder> sinks_;
};

}  // namespace plexum::activex
