#include "support/winsock_stand_in.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <stdexcept>

namespace plexum::windows::test {
namespace {

constexpr const wchar_t* kProgId = L"MSWinsockLib.Winsock";
constexpr const wchar_t* kClassIdKey = L"MSWinsockLib.Winsock\\CLSID";
constexpr const wchar_t* kClassIdText = L"{3E5B8D0A-6F5C-4D39-9A55-0D6C2E7F4B11}";

constexpr std::array kMembers = {L"State",   L"BytesReceived", L"RemoteHost", L"RemotePort",
                                 L"Connect", L"SendData",      L"GetData",    L"Close"};
constexpr DISPID kFirstMember = 100;
constexpr DISPID kState = 100, kBytesReceived = 101, kRemoteHost = 102, kRemotePort = 103,
                 kConnect = 104, kSendData = 105, kGetData = 106, kClose = 107;

int components = 0;

std::string ansi(BSTR text) {
  const int length = static_cast<int>(SysStringLen(text));
  std::string bytes(static_cast<std::size_t>(length), '\0');
  WideCharToMultiByte(CP_ACP, 0, text, length, bytes.data(), length, nullptr, nullptr);
  return bytes;
}

BSTR wide(const std::string& bytes) {
  const int length = static_cast<int>(bytes.size());
  BSTR text = SysAllocStringLen(nullptr, static_cast<UINT>(length));
  MultiByteToWideChar(CP_ACP, 0, bytes.data(), length, text, length);
  return text;
}

// COM objects end by Release, so the interfaces need no virtual destructor.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

class Component : public IDispatch {
 public:
  explicit Component(StandInScript& script) : script_(script) { ++components; }
  virtual ~Component() { --components; }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (id != IID_IUnknown && id != IID_IDispatch) return E_NOINTERFACE;
    *object = static_cast<IDispatch*>(this);
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
    *count = 0;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }

  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID,
                                          DISPID* ids) override {
    const auto found = std::find_if(kMembers.begin(), kMembers.end(), [&](const wchar_t* name) {
      return lstrcmpiW(name, names[0]) == 0;
    });
    if (count != 1 || found == kMembers.end() || script_.missing_member == *found) {
      return DISP_E_UNKNOWNNAME;
    }
    ids[0] = kFirstMember + static_cast<DISPID>(found - kMembers.begin());
    return S_OK;
  }

  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD kind, DISPPARAMS* parameters,
                                   VARIANT* result, EXCEPINFO* info, UINT*) override {
    if (FAILED(script_.failure)) return fail(info);
    const VARIANT* arguments = parameters->rgvarg;
    const UINT count = parameters->cArgs;
    const bool named =
        parameters->cNamedArgs == 1 && parameters->rgdispidNamedArgs[0] == DISPID_PROPERTYPUT;
    if ((kind & DISPATCH_PROPERTYGET) != 0 && count == 0) {
      if (id == kState) return get("State", VT_I2, 7, result);
      if (id == kBytesReceived) {
        return get("BytesReceived", VT_I4, static_cast<LONG>(script_.received.size()), result);
      }
    }
    if (kind == DISPATCH_PROPERTYPUT && count == 1 && named) {
      if (id == kRemoteHost && arguments[0].vt == VT_BSTR) {
        return record("put RemoteHost " + ansi(arguments[0].bstrVal));
      }
      if (id == kRemotePort && arguments[0].vt == VT_I4) {
        return record("put RemotePort " + std::to_string(arguments[0].lVal));
      }
    }
    if (kind == DISPATCH_METHOD && !named) {
      if (id == kConnect && count == 0) return record("call Connect");
      if (id == kClose && count == 0) return record("call Close");
      if (id == kSendData && count == 1 && arguments[0].vt == VT_BSTR) {
        script_.sent += ansi(arguments[0].bstrVal);
        return record("call SendData");
      }
      if (id == kGetData && count == 2 && arguments[1].vt == (VT_BYREF | VT_VARIANT) &&
          arguments[0].vt == VT_I4 && arguments[0].lVal == VT_BSTR) {
        VariantClear(arguments[1].pvarVal);
        arguments[1].pvarVal->vt = VT_BSTR;
        arguments[1].pvarVal->bstrVal = wide(script_.received);
        script_.received.clear();
        return record("call GetData");
      }
    }
    return DISP_E_MEMBERNOTFOUND;
  }

 private:
  HRESULT record(std::string call) {
    script_.calls.push_back(std::move(call));
    return S_OK;
  }

  HRESULT get(const char* name, VARTYPE type, LONG value, VARIANT* result) {
    result->vt = type;
    if (type == VT_I2) {
      result->iVal = static_cast<SHORT>(value);
    } else {
      result->lVal = value;
    }
    return record(std::string("get ") + name);
  }

  HRESULT fail(EXCEPINFO* info) {
    if (script_.failure == DISP_E_EXCEPTION) {
      *info = script_.raised;
      info->bstrSource = SysAllocString(L"Winsock");
      info->bstrDescription = SysAllocString(script_.raised.bstrDescription);
    }
    return script_.failure;
  }

  StandInScript& script_;
  ULONG references_ = 1;
};

class Factory : public IClassFactory {
 public:
  explicit Factory(StandInScript& script) : script_(script) {}
  virtual ~Factory() = default;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override {
    *object = nullptr;
    if (id != IID_IUnknown && id != IID_IClassFactory) return E_NOINTERFACE;
    *object = static_cast<IClassFactory*>(this);
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID id, void** object) override {
    if (script_.refuses_creation) return CLASS_E_NOTLICENSED;
    auto* component = new Component(script_);
    const HRESULT result = component->QueryInterface(id, object);
    component->Release();
    return result;
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }

 private:
  StandInScript& script_;
  ULONG references_ = 1;
};

#pragma GCC diagnostic pop

void check(bool succeeded, const char* what) {
  if (!succeeded) throw std::runtime_error(what);
}

std::wstring registered_class() {
  std::array<wchar_t, 64> text{};
  LONG size = static_cast<LONG>(sizeof text);
  RegQueryValueW(HKEY_CLASSES_ROOT, kClassIdKey, text.data(), &size);
  return text.data();
}

void remove_registration() {
  RegDeleteKeyW(HKEY_CLASSES_ROOT, kClassIdKey);
  RegDeleteKeyW(HKEY_CLASSES_ROOT, kProgId);
}

}  // namespace

WinsockStandIn::WinsockStandIn() : turn_(CreateMutexW(nullptr, FALSE, L"PlexumWinsockStandIn")) {
  WaitForSingleObject(turn_, 60'000);
  const std::wstring present = registered_class();
  check(present.empty() || present == kClassIdText, "this machine has the real component");
  check(
      RegSetValueW(HKEY_CLASSES_ROOT, kClassIdKey, REG_SZ, kClassIdText,
                   static_cast<DWORD>(std::size(std::wstring(kClassIdText)) * 2)) == ERROR_SUCCESS,
      "the ProgID can't be registered");
  CLSID class_id{};
  check(SUCCEEDED(CLSIDFromString(kClassIdText, &class_id)), "not a class id");
  factory_ = new Factory(script);
  check(SUCCEEDED(CoRegisterClassObject(class_id, factory_, CLSCTX_INPROC_SERVER,
                                        REGCLS_MULTIPLEUSE, &registration_)),
        "the class can't be registered");
}

WinsockStandIn::~WinsockStandIn() {
  CoRevokeClassObject(registration_);
  factory_->Release();
  remove_registration();
  ReleaseMutex(turn_);
  CloseHandle(turn_);
}

int WinsockStandIn::alive() { return components; }

}  // namespace plexum::windows::test
