#include "activex/control_host.h"

#include <algorithm>
#include <stdexcept>

namespace plexum::test {
namespace {

std::wstring text_of(BSTR text) {
  return text == nullptr ? std::wstring() : std::wstring(text, SysStringLen(text));
}

template <typename Function>
Function exported(HMODULE module, const char* name) {
  const FARPROC address = GetProcAddress(module, name);
  if (address == nullptr) throw std::runtime_error(std::string("no export ") + name);
  return reinterpret_cast<Function>(reinterpret_cast<void*>(address));
}

}  // namespace

std::wstring ControlFile::path() {
  const std::string narrow = PLEXUM_CONTROL_FILE;
  std::wstring path(narrow.begin(), narrow.end());
  std::replace(path.begin(), path.end(), L'/', L'\\');
  return path;
}

ControlFile::ControlFile() {
  // Never unloaded: the control keeps itself in the process once it has processed messages.
  const HMODULE module = LoadLibraryW(path().c_str());
  if (module == nullptr) throw std::runtime_error("the control could not be loaded");
  get_class_object_ = exported<GetClassObject>(module, "DllGetClassObject");
  can_unload_now_ = exported<CanUnloadNow>(module, "DllCanUnloadNow");
}

ComPtr<IClassFactory> ControlFile::class_factory() const {
  ComPtr<IClassFactory> factory;
  const HRESULT result = get_class_object_(__uuidof(::PlexumLink), IID_PPV_ARGS(&factory));
  if (result != S_OK) throw std::runtime_error("no class object");
  return factory;
}

ComPtr<_PlexumLink> ControlFile::create() const {
  ComPtr<_PlexumLink> link;
  const HRESULT result = class_factory()->CreateInstance(nullptr, IID_PPV_ARGS(&link));
  if (result != S_OK) throw std::runtime_error("no control");
  return link;
}

bool ControlFile::is_unused() const { return can_unload_now_() == S_OK; }

ControlTest::ControlTest() { CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED); }

ControlTest::~ControlTest() {
  EXPECT_TRUE(file_.is_unused()) << "the test left something of the control behind";
  SetErrorInfo(0, nullptr);
  CoUninitialize();
}

VariantVariable VariantVariable::text(std::wstring_view text) {
  VariantVariable result;
  result.variant_.vt = VT_BSTR;
  result.variant_.bstrVal = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
  return result;
}

VariantVariable VariantVariable::number(double number) {
  VariantVariable result;
  result.variant_.vt = VT_R8;
  result.variant_.dblVal = number;
  return result;
}

VariantVariable VariantVariable::integer(LONG number) {
  VariantVariable result;
  result.variant_.vt = VT_I4;
  result.variant_.lVal = number;
  return result;
}

VariantVariable VariantVariable::boolean(bool value) {
  VariantVariable result;
  result.variant_.vt = VT_BOOL;
  result.variant_.boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
  return result;
}

VariantVariable VariantVariable::object(IDispatch* object) {
  VariantVariable result;
  result.variant_.vt = VT_DISPATCH;
  result.variant_.pdispVal = object;
  if (object != nullptr) object->AddRef();
  return result;
}

VariantVariable VariantVariable::reference(VARIANT* variable) {
  VariantVariable result;
  result.variant_.vt = VT_BYREF | VT_VARIANT;
  result.variant_.pvarVal = variable;
  return result;
}

VariantVariable VariantVariable::reference(BSTR* variable) {
  VariantVariable result;
  result.variant_.vt = VT_BYREF | VT_BSTR;
  result.variant_.pbstrVal = variable;
  return result;
}

VariantVariable VariantVariable::reference(LONG* variable) {
  VariantVariable result;
  result.variant_.vt = VT_BYREF | VT_I4;
  result.variant_.plVal = variable;
  return result;
}

VariantVariable VariantVariable::reference(double* variable) {
  VariantVariable result;
  result.variant_.vt = VT_BYREF | VT_R8;
  result.variant_.pdblVal = variable;
  return result;
}

VariantVariable VariantVariable::omitted() {
  VariantVariable result;
  result.variant_.vt = VT_ERROR;
  result.variant_.scode = DISP_E_PARAMNOTFOUND;
  return result;
}

std::wstring VariantVariable::shown() const {
  const std::wstring type = L"vt " + std::to_wstring(variant_.vt);
  switch (variant_.vt) {
    case VT_EMPTY:
      return L"empty";
    case VT_BSTR:
      return L"text " + text_of(variant_.bstrVal);
    case VT_I2:
      return L"integer " + std::to_wstring(variant_.iVal);
    case VT_I4:
      return L"long " + std::to_wstring(variant_.lVal);
    case VT_R8:
      return L"double " + std::to_wstring(variant_.dblVal);
    case VT_BOOL:
      return variant_.boolVal == VARIANT_TRUE    ? L"true"
             : variant_.boolVal == VARIANT_FALSE ? L"false"
                                                 : L"no Boolean";
    default:
      return type;
  }
}

LateBoundResult invoke(IDispatch* object, const wchar_t* name, WORD flags,
                       std::vector<VariantVariable> arguments,
                       const std::vector<const wchar_t*>& names) {
  std::vector<LPOLESTR> all{const_cast<LPOLESTR>(name)};
  for (const wchar_t* argument : names) all.push_back(const_cast<LPOLESTR>(argument));
  std::vector<DISPID> ids(all.size());
  LateBoundResult result;
  result.status =
      object->GetIDsOfNames(IID_NULL, all.data(), static_cast<UINT>(all.size()), 0, ids.data());
  if (result.status != S_OK) return result;

  // Named arguments come first in the block, the others in reverse order.
  const std::size_t unnamed = arguments.size() - names.size();
  std::vector<VARIANT> block;
  for (std::size_t i = unnamed; i < arguments.size(); ++i) block.push_back(*&arguments[i]);
  for (std::size_t i = unnamed; i-- > 0;) block.push_back(*&arguments[i]);
  std::vector<DISPID> named(ids.begin() + 1, ids.end());
  if (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) {
    named.insert(named.begin(), DISPID_PROPERTYPUT);
  }
  DISPPARAMS parameters{block.data(), named.data(), static_cast<UINT>(block.size()),
                        static_cast<UINT>(named.size())};
  EXCEPINFO exception{};
  result.status = object->Invoke(ids[0], IID_NULL, LOCALE_USER_DEFAULT, flags, &parameters,
                                 &result.value, &exception, &result.argument);
  result.error = exception.scode;
  result.description = text_of(exception.bstrDescription);
  result.source = text_of(exception.bstrSource);
  SysFreeString(exception.bstrDescription);
  SysFreeString(exception.bstrSource);
  SysFreeString(exception.bstrHelpFile);
  return result;
}

}  // namespace plexum::test
