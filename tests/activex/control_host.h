#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "activex/com_headers.h"

namespace plexum::test {

using activex::ComPtr;

// The control's file as a host loads it, without any registration.
class ControlFile {
 public:
  ControlFile();
  ControlFile(const ControlFile&) = delete;
  ControlFile& operator=(const ControlFile&) = delete;

  static std::wstring path();

  [[nodiscard]] ComPtr<IClassFactory> class_factory(
      const CLSID& clsid = __uuidof(::PlexumLink)) const;
  [[nodiscard]] ComPtr<_PlexumLink> create() const { return create<_PlexumLink>(); }
  template <typename Interface>
  [[nodiscard]] ComPtr<Interface> create(const CLSID& clsid = __uuidof(::PlexumLink)) const {
    ComPtr<Interface> object;
    EXPECT_EQ(class_factory(clsid)->CreateInstance(nullptr, IID_PPV_ARGS(&object)), S_OK);
    return object;
  }
  // Whether no object and no lock of the file is left.
  [[nodiscard]] bool is_unused() const { return can_unload_now_() == S_OK; }

 private:
  using GetClassObject = HRESULT(STDMETHODCALLTYPE*)(REFCLSID, REFIID, void**);
  using CanUnloadNow = HRESULT(STDMETHODCALLTYPE*)();

  GetClassObject get_class_object_ = nullptr;
  CanUnloadNow can_unload_now_ = nullptr;
};

// A host on an apartment thread. After each test nothing of the control may be left.
class ControlTest : public ::testing::Test {
 protected:
  ControlTest();
  ~ControlTest() override;

  [[nodiscard]] const ControlFile& file() const { return file_; }

 private:
  ControlFile file_;
};

// A BSTR variable of a host.
class BstrVariable {
 public:
  BstrVariable() = default;
  BstrVariable(std::wstring_view text)
      : text_(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {}
  BstrVariable(const wchar_t* text) : BstrVariable(std::wstring_view(text)) {}
  BstrVariable(const BstrVariable&) = delete;
  BstrVariable& operator=(const BstrVariable&) = delete;
  ~BstrVariable() { SysFreeString(text_); }

  BSTR* operator&() { return &text_; }
  [[nodiscard]] BSTR get() const { return text_; }
  [[nodiscard]] std::wstring text() const { return {text_, text_ + SysStringLen(text_)}; }

 private:
  BSTR text_ = nullptr;
};

// What a VARIANT holds, as "String:4464", "Long:-7", "Double()1[1 2 ]" and the like.
std::wstring shown(const VARIANT& value,
                   const std::function<std::wstring(std::wstring_view)>& text = nullptr);

// A VARIANT variable of a host. Made of a pointer to a variable, it refers to that variable.
class VariantVariable {
 public:
  VariantVariable() { VariantInit(&variant_); }
  VariantVariable(std::wstring_view text) : VariantVariable() {
    variant_.vt = VT_BSTR;
    variant_.bstrVal = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
  }
  VariantVariable(const wchar_t* text) : VariantVariable(std::wstring_view(text)) {}
  VariantVariable(double number) : VariantVariable() {
    variant_.vt = VT_R8;
    variant_.dblVal = number;
  }
  VariantVariable(int number) : VariantVariable() {
    variant_.vt = VT_I4;
    variant_.lVal = number;
  }
  VariantVariable(IDispatch* object) : VariantVariable(VT_DISPATCH, object) {
    if (object != nullptr) object->AddRef();
  }
  VariantVariable(VARIANT* variable) : VariantVariable(VT_BYREF | VT_VARIANT, variable) {}
  VariantVariable(BSTR* variable) : VariantVariable(VT_BYREF | VT_BSTR, variable) {}
  VariantVariable(LONG* variable) : VariantVariable(VT_BYREF | VT_I4, variable) {}
  VariantVariable(double* variable) : VariantVariable(VT_BYREF | VT_R8, variable) {}
  // Of any type, by its pointer; with null all bits are 0.
  VariantVariable(int type, void* pointer) : VariantVariable() {
    variant_.vt = static_cast<VARTYPE>(type);
    variant_.byref = pointer;
  }
  VariantVariable(VariantVariable&& other) noexcept : variant_(other.variant_) {
    VariantInit(&other.variant_);
  }
  VariantVariable& operator=(VariantVariable&&) = delete;
  ~VariantVariable() { VariantClear(&variant_); }

  VARIANT* operator&() { return &variant_; }
  [[nodiscard]] const VARIANT& get() const { return variant_; }
  [[nodiscard]] std::wstring shown() const { return test::shown(variant_); }

 private:
  VARIANT variant_;
};

template <typename... Each>
std::vector<VariantVariable> list(Each&&... each) {
  std::vector<VariantVariable> result;
  (result.emplace_back(std::forward<Each>(each)), ...);
  return result;
}

// What a late-bound call came to.
struct LateBoundResult {
  HRESULT status = S_OK;
  VariantVariable value;
  HRESULT error = 0;  // the EXCEPINFO's
  std::wstring description;
  std::wstring source;
  UINT argument = ~0U;
};

// Calls by name; the arguments stand in the order of the member's parameters, and `names` are those
// of the last ones.
LateBoundResult invoke(IDispatch* object, const wchar_t* name, WORD flags,
                       const std::vector<VariantVariable>& arguments,
                       const std::vector<const wchar_t*>& names = {});

// The arguments of ag_ini for a PLC on this machine.
struct Address {
  explicit Address(int port_number) : port(std::to_wstring(port_number)) {}
  HRESULT ini(_PlexumLink* link, VARIANT_BOOL* result) {
    return link->ag_ini(&host, &port, &calling, &called, result);
  }

  BstrVariable host = L"127.0.0.1";
  BstrVariable port;
  BstrVariable calling = L"1.0";
  BstrVariable called = L"3.2";
};

}  // namespace plexum::test
