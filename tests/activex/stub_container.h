#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "activex/com_headers.h"

namespace plexum::test {

class StubContainer;

// The frame around a container's form. It belongs to the container, and counts with it.
class StubFrame final : public IOleInPlaceFrame {
 public:
  explicit StubFrame(StubContainer& container) : container_(container) {}
  ~StubFrame() = default;
  StubFrame(const StubFrame&) = delete;
  StubFrame& operator=(const StubFrame&) = delete;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  ULONG STDMETHODCALLTYPE AddRef() override;
  ULONG STDMETHODCALLTYPE Release() override;
  HRESULT STDMETHODCALLTYPE GetWindow(HWND*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE ContextSensitiveHelp(BOOL) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetBorder(LPRECT) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE RequestBorderSpace(LPCBORDERWIDTHS) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetBorderSpace(LPCBORDERWIDTHS) override;
  HRESULT STDMETHODCALLTYPE SetActiveObject(IOleInPlaceActiveObject* object, LPCOLESTR) override;
  HRESULT STDMETHODCALLTYPE InsertMenus(HMENU, LPOLEMENUGROUPWIDTHS) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetMenu(HMENU, HOLEMENU, HWND) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE RemoveMenus(HMENU) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetStatusText(LPCOLESTR) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE EnableModeless(BOOL enable) override;
  HRESULT STDMETHODCALLTYPE TranslateAccelerator(LPMSG, WORD) override { return S_FALSE; }

 private:
  StubContainer& container_;
};

// A container of one control, on the stack of a test: it ticks off every call that the control
// makes, says of itself what the test sets, does from inside a call what the test wants, and counts
// the references to it, of which none may be left when it goes.
class StubContainer final : public IOleClientSite,
                            public IOleInPlaceSite,
                            public IOleControlSite,
                            public IDispatch,
                            public IPropertyNotifySink,
                            public IAdviseSink {
 public:
  // With no window above them the control's windows can't be.
  explicit StubContainer(HWND window = nullptr) : window_(window) {}
  ~StubContainer() = default;
  StubContainer(const StubContainer&) = delete;
  StubContainer& operator=(const StubContainer&) = delete;

  // What the control has called since the last time.
  std::vector<std::string> take_calls();
  [[nodiscard]] ULONG references() const { return references_; }

  std::map<DISPID, VARIANT> ambient;
  HRESULT ambient_failure = DISP_E_MEMBERNOTFOUND;  // for those that aren't there
  int ambient_questions = 0;
  std::vector<DISPID> changed;  // by OnChanged
  // Run from inside each call, the ambient questions included.
  std::function<void(const std::string& call)> on_call;
  bool allows_activation = true;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
  ULONG STDMETHODCALLTYPE Release() override { return --references_; }

  // IOleClientSite
  HRESULT STDMETHODCALLTYPE SaveObject() override { return call("SaveObject"); }
  HRESULT STDMETHODCALLTYPE GetMoniker(DWORD, DWORD, IMoniker**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetContainer(IOleContainer**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE ShowObject() override { return call("ShowObject"); }
  HRESULT STDMETHODCALLTYPE OnShowWindow(BOOL) override { return call("OnShowWindow"); }
  HRESULT STDMETHODCALLTYPE RequestNewObjectLayout() override { return E_NOTIMPL; }

  // IOleWindow, IOleInPlaceSite
  HRESULT STDMETHODCALLTYPE GetWindow(HWND* window) override;
  HRESULT STDMETHODCALLTYPE ContextSensitiveHelp(BOOL) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE CanInPlaceActivate() override {
    return allows_activation ? S_OK : S_FALSE;
  }
  HRESULT STDMETHODCALLTYPE OnInPlaceActivate() override { return call("OnInPlaceActivate"); }
  HRESULT STDMETHODCALLTYPE OnUIActivate() override { return call("OnUIActivate"); }
  HRESULT STDMETHODCALLTYPE GetWindowContext(IOleInPlaceFrame** frame,
                                             IOleInPlaceUIWindow** document, LPRECT position,
                                             LPRECT clip, LPOLEINPLACEFRAMEINFO info) override;
  HRESULT STDMETHODCALLTYPE Scroll(SIZE) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE OnUIDeactivate(BOOL) override { return call("OnUIDeactivate"); }
  HRESULT STDMETHODCALLTYPE OnInPlaceDeactivate() override { return call("OnInPlaceDeactivate"); }
  HRESULT STDMETHODCALLTYPE DiscardUndoState() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE DeactivateAndUndo() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE OnPosRectChange(LPCRECT) override { return call("OnPosRectChange"); }

  // IOleControlSite
  HRESULT STDMETHODCALLTYPE OnControlInfoChanged() override { return S_OK; }
  HRESULT STDMETHODCALLTYPE LockInPlaceActive(BOOL) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetExtendedControl(IDispatch**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE TransformCoords(POINTL*, POINTF*, DWORD) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE TranslateAccelerator(MSG*, DWORD modifiers) override {
    return call("TranslateAccelerator " + std::to_string(modifiers));
  }
  HRESULT STDMETHODCALLTYPE OnFocus(BOOL has_focus) override {
    return call("OnFocus " + std::to_string(has_focus));
  }
  HRESULT STDMETHODCALLTYPE ShowPropertyFrame() override { return call("ShowPropertyFrame"); }

  // IDispatch: the ambient properties
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID member, REFIID, LCID, WORD, DISPPARAMS*, VARIANT* result,
                                   EXCEPINFO*, UINT*) override;

  // IPropertyNotifySink
  HRESULT STDMETHODCALLTYPE OnChanged(DISPID property) override;
  HRESULT STDMETHODCALLTYPE OnRequestEdit(DISPID) override { return S_OK; }

  // IAdviseSink
  void STDMETHODCALLTYPE OnDataChange(FORMATETC*, STGMEDIUM*) override { call("OnDataChange"); }
  void STDMETHODCALLTYPE OnViewChange(DWORD, LONG) override { call("OnViewChange"); }
  void STDMETHODCALLTYPE OnRename(IMoniker*) override {}
  void STDMETHODCALLTYPE OnSave() override { call("OnSave"); }
  void STDMETHODCALLTYPE OnClose() override { call("OnClose"); }

  // Ticks off a call, the frame's included.
  HRESULT call(const std::string& name);

 private:
  StubFrame frame_{*this};
  HWND window_;
  ULONG references_ = 0;
  std::vector<std::string> calls_;
};

// A property bag that keeps texts by name, in the order of their coming.
class StubPropertyBag final : public IPropertyBag {
 public:
  std::vector<std::wstring> names;  // as read or written
  std::map<std::wstring, std::wstring> values;
  HRESULT failure = S_OK;          // of every call, if it is one
  HRESULT absence = E_INVALIDARG;  // for a value that isn't there

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
  HRESULT STDMETHODCALLTYPE Read(LPCOLESTR name, VARIANT* value, IErrorLog* log) override;
  HRESULT STDMETHODCALLTYPE Write(LPCOLESTR name, VARIANT* value) override;
};

}  // namespace plexum::test
