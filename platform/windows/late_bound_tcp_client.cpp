#include "platform/windows/late_bound_tcp_client.h"

#include <array>
#include <utility>

#include "base/runtime_error.h"
#include "platform/windows/bstr.h"
#include "platform/windows/code_page.h"
#include "platform/windows/tcp_client.h"

namespace plexum::windows {
namespace {

constexpr const wchar_t* kProgId = L"MSWinsockLib.Winsock";
constexpr std::int32_t kStringType = VT_BSTR;  // what GetData is asked for

// Owns what a VARIANT holds.
class Variant : public VARIANT {
 public:
  Variant() { VariantInit(this); }
  explicit Variant(std::int32_t number) : Variant() {
    vt = VT_I4;
    lVal = number;
  }
  explicit Variant(std::wstring_view text) : Variant() {
    bstrVal = new_bstr(text);
    vt = VT_BSTR;
  }
  Variant(const Variant&) = delete;
  Variant& operator=(const Variant&) = delete;
  ~Variant() { VariantClear(this); }
};

// Owns the texts of an EXCEPINFO.
class ExceptionInfo : public EXCEPINFO {
 public:
  ExceptionInfo() : EXCEPINFO{} {}
  ExceptionInfo(const ExceptionInfo&) = delete;
  ExceptionInfo& operator=(const ExceptionInfo&) = delete;
  ~ExceptionInfo() {
    SysFreeString(bstrSource);
    SysFreeString(bstrDescription);
    SysFreeString(bstrHelpFile);
  }
};

// The number by which VB hosts know a failure.
std::int32_t error_number(HRESULT result) {
  switch (result) {
    case DISP_E_TYPEMISMATCH:
      return kTypeMismatch;
    case DISP_E_OVERFLOW:
      return kOverflow;
    case DISP_E_BADINDEX:
      return kSubscriptOutOfRange;
    case E_INVALIDARG:
      return kInvalidArgument;
    default:
      break;
  }
  constexpr std::int32_t kControlFacility = static_cast<std::int32_t>(0x800A0000);
  const bool of_control = (result & static_cast<std::int32_t>(0xFFFF0000)) == kControlFacility;
  return of_control ? result & 0xFFFF : result;
}

[[noreturn]] void throw_error(HRESULT result, ExceptionInfo& info) {
  if (result != DISP_E_EXCEPTION) throw RuntimeError(error_number(result));
  if (info.pfnDeferredFillIn != nullptr) info.pfnDeferredFillIn(&info);
  const std::int32_t number = info.wCode != 0 ? info.wCode : error_number(info.scode);
  if (info.bstrDescription == nullptr) throw RuntimeError(number);
  throw RuntimeError(number, utf8_from_utf16(view_of(info.bstrDescription)));
}

std::int32_t number_of(VARIANT& value) {
  const HRESULT result = VariantChangeType(&value, &value, 0, VT_I4);
  if (FAILED(result)) throw RuntimeError(error_number(result));
  return value.lVal;
}

}  // namespace

std::unique_ptr<LateBoundTcpClient> LateBoundTcpClient::create() {
  CLSID class_id{};
  if (FAILED(CLSIDFromProgID(kProgId, &class_id))) return nullptr;
  void* component = nullptr;
  if (FAILED(
          CoCreateInstance(class_id, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, &component))) {
    return nullptr;
  }
  std::unique_ptr<LateBoundTcpClient> client(
      new LateBoundTcpClient(static_cast<IDispatch*>(component)));
  if (!client->resolve_members()) return nullptr;
  return client;
}

LateBoundTcpClient::~LateBoundTcpClient() { component_->Release(); }

bool LateBoundTcpClient::resolve_members() {
  static constexpr std::array<const wchar_t*, kMemberCount> kNames = {
      L"State",   L"BytesReceived", L"RemoteHost", L"RemotePort",
      L"Connect", L"SendData",      L"GetData",    L"Close"};
  for (std::size_t i = 0; i < kNames.size(); ++i) {
    Bstr name(kNames[i]);
    LPOLESTR names = name.get();
    if (FAILED(component_->GetIDsOfNames(IID_NULL, &names, 1, LOCALE_USER_DEFAULT, &members_[i]))) {
      return false;
    }
  }
  return true;
}

void LateBoundTcpClient::invoke(Member member, WORD kind, VARIANT* reversed_arguments, UINT count,
                                VARIANT* result) {
  DISPID put = DISPID_PROPERTYPUT;
  DISPPARAMS parameters{};
  parameters.rgvarg = reversed_arguments;
  parameters.cArgs = count;
  if (kind == DISPATCH_PROPERTYPUT) {
    parameters.rgdispidNamedArgs = &put;
    parameters.cNamedArgs = 1;
  }
  ExceptionInfo info;
  UINT bad_argument = 0;
  const HRESULT outcome = component_->Invoke(members_[member], IID_NULL, LOCALE_USER_DEFAULT, kind,
                                             &parameters, result, &info, &bad_argument);
  if (FAILED(outcome)) throw_error(outcome, info);
}

std::int32_t LateBoundTcpClient::get_number(Member member) {
  Variant result;
  invoke(member, DISPATCH_PROPERTYGET | DISPATCH_METHOD, nullptr, 0, &result);
  return number_of(result);
}

std::int16_t LateBoundTcpClient::State() {
  const auto state = static_cast<std::int16_t>(get_number(kState));
  return state == kTcpPeerClosing && BytesReceived() > 0 ? kTcpConnected : state;
}

std::int32_t LateBoundTcpClient::BytesReceived() { return get_number(kBytesReceived); }

void LateBoundTcpClient::RemoteHost(const std::string& host) {
  Variant argument(utf16_from_utf8(host));
  invoke(kRemoteHost, DISPATCH_PROPERTYPUT, &argument, 1, nullptr);
}

void LateBoundTcpClient::RemotePort(std::int32_t port) {
  Variant argument(port);
  invoke(kRemotePort, DISPATCH_PROPERTYPUT, &argument, 1, nullptr);
}

void LateBoundTcpClient::Connect() { invoke(kConnect, DISPATCH_METHOD, nullptr, 0, nullptr); }

void LateBoundTcpClient::SendData(const std::string& bytes) {
  if (get_number(kState) == kTcpPeerClosing && BytesReceived() > 0) return;
  Variant argument(CodePage::ansi().text_from_bytes(bytes));
  invoke(kSendData, DISPATCH_METHOD, &argument, 1, nullptr);
}

std::string LateBoundTcpClient::GetData() {
  Variant data;
  std::array<VARIANT, 2> reversed{};
  reversed[0].vt = VT_I4;
  reversed[0].lVal = kStringType;
  reversed[1].vt = VT_BYREF | VT_VARIANT;
  reversed[1].pvarVal = &data;
  invoke(kGetData, DISPATCH_METHOD, reversed.data(), static_cast<UINT>(reversed.size()), nullptr);
  if (data.vt == VT_EMPTY) return {};
  if (data.vt != VT_BSTR) throw RuntimeError(kTypeMismatch);
  return CodePage::ansi().bytes_from_text(view_of(data.bstrVal));
}

void LateBoundTcpClient::Close() { invoke(kClose, DISPATCH_METHOD, nullptr, 0, nullptr); }

std::unique_ptr<TcpClient> make_tcp_client() {
  if (auto component = LateBoundTcpClient::create()) return component;
  return std::make_unique<BuiltInTcpClient>();
}

}  // namespace plexum::windows
