#include "support/winsock_stand_in.h"

#include <array>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace plexum::windows::test {
namespace {

constexpr const wchar_t* kProgId = L"MSWinsockLib.Winsock";
constexpr const wchar_t* kClassIdKey = L"MSWinsockLib.Winsock\\CLSID";
constexpr const wchar_t* kClassIdText = L"{3E5B8D0A-6F5C-4D39-9A55-0D6C2E7F4B11}";

constexpr std::array<std::wstring_view, 8> kMembers = {
    L"State",   L"BytesReceived", L"RemoteHost", L"RemotePort",
    L"Connect", L"SendData",      L"GetData",    L"Close"};

std::string ansi(std::wstring_view text) {
  const int length = static_cast<int>(text.size());
  std::string bytes(text.size(), '\0');
  WideCharToMultiByte(CP_ACP, 0, text.data(), length, bytes.data(), length, nullptr, nullptr);
  return bytes;
}

BSTR wide(const std::string& bytes) {
  const int length = static_cast<int>(bytes.size());
  BSTR text = SysAllocStringLen(nullptr, static_cast<UINT>(length));
  MultiByteToWideChar(CP_ACP, 0, bytes.data(), length, text, length);
  return text;
}

// "call SendData 'bytes'"; what has no place in such a call is "?".
std::string text_of_call(WORD kind, std::wstring_view member, const DISPPARAMS& parameters) {
  const bool put =
      parameters.cNamedArgs == 1 && parameters.rgdispidNamedArgs[0] == DISPID_PROPERTYPUT;
  std::string text = "? ";
  if ((kind & DISPATCH_PROPERTYGET) != 0 && !put) text = "get ";
  if (kind == DISPATCH_PROPERTYPUT && put) text = "put ";
  if (kind == DISPATCH_METHOD && !put) text = "call ";
  text += ansi(member);
  for (UINT left = parameters.cArgs; left > 0; --left) {
    const VARIANT& argument = parameters.rgvarg[left - 1];
    if (argument.vt == VT_BSTR) {
      text += " '" + ansi({argument.bstrVal, SysStringLen(argument.bstrVal)}) + "'";
    } else if (argument.vt == VT_I4) {
      text += " " + std::to_string(argument.lVal);
    } else {
      text += argument.vt == (VT_BYREF | VT_VARIANT) ? " &" : " ?";
    }
  }
  return text;
}

// COM objects end by Release, so the interfaces need no virtual destructor.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

// A COM object that the stand-in owns: it lives on when its last reference is released.
template <typename Interface>
class Unknown : public Interface {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override {
    *object = id == IID_IUnknown || id == __uuidof(Interface) ? this : nullptr;
    if (*object == nullptr) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
  ULONG STDMETHODCALLTYPE Release() override { return --references; }

  ULONG references = 0;
};

}  // namespace

class StandInComponent final : public Unknown<IDispatch> {
 public:
  explicit StandInComponent(StandInScript& script) : script_(script) {}

  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }

  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID,
                                          DISPID* ids) override {
    for (std::size_t i = 0; i < kMembers.size(); ++i) {
      if (names[0] != kMembers[i] || names[0] == script_.missing_member) continue;
      ids[0] = kFirstMember + static_cast<DISPID>(i);
      return S_OK;
    }
    return DISP_E_UNKNOWNNAME;
  }

  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD kind, DISPPARAMS* parameters,
                                   VARIANT* result, EXCEPINFO* info, UINT*) override {
    if (script_.failure == DISP_E_EXCEPTION) {
      info->scode = script_.scode;
      info->wCode = script_.code;
      info->bstrDescription = SysAllocString(script_.description.c_str());
    }
    if (FAILED(script_.failure)) return script_.failure;
    const std::wstring_view member = kMembers.at(static_cast<std::size_t>(id - kFirstMember));
    script_.calls.push_back(text_of_call(kind, member, *parameters));
    if (member == L"State") {
      result->vt = VT_I2;
      result->iVal = script_.state;
    } else if (member == L"BytesReceived") {
      result->vt = VT_I4;
      result->lVal = static_cast<LONG>(script_.received.size());
    } else if (member == L"GetData") {
      VARIANT& data = *parameters->rgvarg[1].pvarVal;
      data.vt = VT_BSTR;
      data.bstrVal = wide(std::exchange(script_.received, {}));
    }
    return S_OK;
  }

 private:
  static constexpr DISPID kFirstMember = 100;

  StandInScript& script_;
};

class StandInFactory final : public Unknown<IClassFactory> {
 public:
  StandInFactory(StandInScript& script, StandInComponent& component)
      : script_(script), component_(component) {}

  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID id, void** object) override {
    if (script_.refuses_creation) return CLASS_E_NOTLICENSED;
    return component_.QueryInterface(id, object);
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }

 private:
  StandInScript& script_;
  StandInComponent& component_;
};

#pragma GCC diagnostic pop

WinsockStandIn::WinsockStandIn()
    : turn_(CreateMutexW(nullptr, FALSE, L"PlexumWinsockStandIn")),
      component_(std::make_unique<StandInComponent>(script)),
      factory_(std::make_unique<StandInFactory>(script, *component_)) {
  WaitForSingleObject(turn_, 60'000);
  CLSID class_id{};
  CLSID present{};
  CLSIDFromString(kClassIdText, &class_id);
  if (SUCCEEDED(CLSIDFromProgID(kProgId, &present)) && present != class_id) {
    throw std::runtime_error("this machine has the real component");
  }
  if (RegSetValueW(HKEY_CLASSES_ROOT, kClassIdKey, REG_SZ, kClassIdText, 0) != ERROR_SUCCESS ||
      FAILED(CoRegisterClassObject(class_id, factory_.get(), CLSCTX_INPROC_SERVER,
                                   REGCLS_MULTIPLEUSE, &registration_))) {
    throw std::runtime_error("the stand-in can't be registered");
  }
}

WinsockStandIn::~WinsockStandIn() {
  CoRevokeClassObject(registration_);
  RegDeleteKeyW(HKEY_CLASSES_ROOT, kClassIdKey);
  RegDeleteKeyW(HKEY_CLASSES_ROOT, kProgId);
  ReleaseMutex(turn_);
  CloseHandle(turn_);
}

ULONG WinsockStandIn::references() const { return component_->references; }

}  // namespace plexum::windows::test
