#include "activex/control_host.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>

namespace plexum::test {
namespace {

template <typename Function>
Function exported(HMODULE module, const char* name) {
  const FARPROC address = GetProcAddress(module, name);
  if (address == nullptr) throw std::runtime_error(std::string("no export ") + name);
  return reinterpret_cast<Function>(reinterpret_cast<void*>(address));
}

std::wstring shown_double(double number) {
  wchar_t text[40];
  std::swprintf(text, std::size(text), L"%.17g", number);
  return text;
}

template <typename Element, typename Show>
std::wstring shown_array(const wchar_t* name, SAFEARRAY* array, Show show) {
  LONG lower = 0;
  LONG upper = 0;
  SafeArrayGetLBound(array, 1, &lower);
  SafeArrayGetUBound(array, 1, &upper);
  void* memory = nullptr;
  SafeArrayAccessData(array, &memory);
  std::wstring result = name + std::to_wstring(lower) + L"[";
  for (LONG i = 0; i <= upper - lower; ++i) result += show(static_cast<Element*>(memory)[i]) + L" ";
  SafeArrayUnaccessData(array);
  return result + L"]";
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

ComPtr<IClassFactory> ControlFile::class_factory(const CLSID& clsid) const {
  ComPtr<IClassFactory> factory;
  const HRESULT result = get_class_object_(clsid, IID_PPV_ARGS(&factory));
  if (result != S_OK) throw std::runtime_error("no class object");
  return factory;
}

ControlTest::ControlTest() { CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED); }

ControlTest::~ControlTest() {
  EXPECT_TRUE(file_.is_unused()) << "the test left something of the control behind";
  SetErrorInfo(0, nullptr);
  CoUninitialize();
}

std::wstring shown(const VARIANT& value,
                   const std::function<std::wstring(std::wstring_view)>& text) {
  const auto element = [&](const VARIANT& each) { return shown(each, text); };
  const auto number = [](const wchar_t* type, long each) { return type + std::to_wstring(each); };
  switch (value.vt) {
    case VT_EMPTY:
      return L"Empty";
    case VT_BOOL:
      return number(L"Boolean:", value.boolVal == VARIANT_TRUE ? 1 : value.boolVal);
    case VT_I2:
      return number(L"Integer:", value.iVal);
    case VT_I4:
      return number(L"Long:", value.lVal);
    case VT_R8:
      return L"Double:" + shown_double(value.dblVal);
    case VT_BSTR: {
      const std::wstring_view all(value.bstrVal, SysStringLen(value.bstrVal));
      return L"String:" + (text ? text(all) : std::wstring(all));
    }
    case VT_ARRAY | VT_R8:
      return shown_array<double>(L"Double()", value.parray, shown_double);
    case VT_ARRAY | VT_VARIANT:
      return shown_array<VARIANT>(L"Variant()", value.parray, element);
    default:
      return number(L"vt", value.vt);
  }
}

LateBoundResult invoke(IDispatch* object, const wchar_t* name, WORD flags,
                       const std::vector<VariantVariable>& arguments,
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
  for (std::size_t i = unnamed; i < arguments.size(); ++i) block.push_back(arguments[i].get());
  for (std::size_t i = unnamed; i-- > 0;) block.push_back(arguments[i].get());
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
  for (const auto& [text, place] : {std::pair(exception.bstrDescription, &result.description),
                                    std::pair(exception.bstrSource, &result.source)}) {
    *place = std::wstring(text, text + SysStringLen(text));
    SysFreeString(text);
  }
  SysFreeString(exception.bstrHelpFile);
  return result;
}

}  // namespace plexum::test
