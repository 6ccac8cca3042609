#include "activex/stub_container.h"

#include <utility>

namespace plexum::test {

std::vector<std::string> StubContainer::take_calls() { return std::exchange(calls_, {}); }

HRESULT StubContainer::call(const std::string& name) {
  calls_.push_back(name);
  if (on_call) on_call(name);
  return S_OK;
}

ULONG StubFrame::AddRef() { return container_.AddRef(); }
ULONG StubFrame::Release() { return container_.Release(); }
HRESULT StubFrame::SetBorderSpace(LPCBORDERWIDTHS) { return container_.call("SetBorderSpace"); }
HRESULT StubFrame::SetActiveObject(IOleInPlaceActiveObject* object, LPCOLESTR) {
  return container_.call(object == nullptr ? "SetActiveObject null" : "SetActiveObject");
}
HRESULT StubFrame::EnableModeless(BOOL enable) {
  return container_.call("EnableModeless " + std::to_string(enable));
}

HRESULT StubContainer::QueryInterface(REFIID iid, void** object) {
  *object = nullptr;
  if (iid == __uuidof(IUnknown) || iid == __uuidof(IOleClientSite)) {
    *object = static_cast<IOleClientSite*>(this);
  } else if (iid == __uuidof(IOleInPlaceSite) || iid == __uuidof(IOleWindow)) {
    *object = static_cast<IOleInPlaceSite*>(this);
  } else if (iid == __uuidof(IOleControlSite)) {
    *object = static_cast<IOleControlSite*>(this);
  } else if (iid == __uuidof(IDispatch)) {
    *object = static_cast<IDispatch*>(this);
  } else if (iid == __uuidof(IPropertyNotifySink)) {
    *object = static_cast<IPropertyNotifySink*>(this);
  } else if (iid == __uuidof(IAdviseSink)) {
    *object = static_cast<IAdviseSink*>(this);
  } else {
    return E_NOINTERFACE;
  }
  AddRef();
  return S_OK;
}

HRESULT StubContainer::GetWindow(HWND* window) {
  *window = window_;
  return window_ == nullptr ? E_FAIL : S_OK;
}

HRESULT StubContainer::GetWindowContext(IOleInPlaceFrame** frame, IOleInPlaceUIWindow** document,
                                        LPRECT position, LPRECT clip, LPOLEINPLACEFRAMEINFO) {
  *frame = &frame_;
  AddRef();
  *document = nullptr;
  *position = {10, 20, 250, 116};
  *clip = *position;
  return S_OK;
}

HRESULT StubContainer::Invoke(DISPID member, REFIID, LCID, WORD, DISPPARAMS*, VARIANT* result,
                              EXCEPINFO*, UINT*) {
  ++ambient_questions;
  if (on_call) on_call("ambient");
  const auto found = ambient.find(member);
  if (found == ambient.end()) return ambient_failure;
  return VariantCopy(result, &found->second);
}

HRESULT StubContainer::OnChanged(DISPID property) {
  changed.push_back(property);
  if (on_call) on_call("OnChanged");
  return S_OK;
}

HRESULT StubPropertyBag::Read(LPCOLESTR name, VARIANT* value, IErrorLog*) {
  names.emplace_back(name);
  if (failure != S_OK) return failure;
  const auto found = values.find(name);
  if (found == values.end()) return absence;
  VARIANT text;
  text.vt = VT_BSTR;
  text.bstrVal = SysAllocString(found->second.c_str());
  *value = text;
  return S_OK;
}

HRESULT StubPropertyBag::Write(LPCOLESTR name, VARIANT* value) {
  names.emplace_back(name);
  if (failure != S_OK) return failure;
  VARIANT text;
  VariantInit(&text);
  const HRESULT converted = VariantChangeType(&text, value, 0, VT_BSTR);
  if (FAILED(converted)) return converted;
  values[name] = text.bstrVal;
  VariantClear(&text);
  return S_OK;
}

}  // namespace plexum::test
