#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
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

  [[nodiscard]] ComPtr<IClassFactory> class_factory() const;
  [[nodiscard]] ComPtr<_PlexumLink> create() const;
  // An object of another class of the file; null if it can't be made.
  template <typename Interface>
  [[nodiscard]] ComPtr<Interface> create(const CLSID& clsid) const {
    ComPtr<IClassFactory> factory;
    ComPtr<Interface> object;
    if (get_class_object_(clsid, IID_PPV_ARGS(&factory)) == S_OK) {
      factory->CreateInstance(nullptr, IID_PPV_ARGS(&object));
    }
    return object;
  }
  // Whether no object and no lock of the file is left.
  [[nodiscard]] bool is_unused() const;

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
  BstrVariable(const wchar_t* text) : text_(SysAllocString(text)) {}
  explicit BstrVariable(std::wstring_view text)
      : text_(SysAllocStringLen(text.data(), static_cast<UINT>(text.size()))) {}
  BstrVariable(const BstrVariable&) = delete;
  BstrVariable& operator=(const BstrVariable&) = delete;
  ~BstrVariable() { SysFreeString(text_); }

  BstrVariable& operator=(const wchar_t* text) {
    SysReAllocString(&text_, text);
    return *this;
  }

  BSTR* operator&() { return &text_; }
  [[nodiscard]] BSTR get() const { return text_; }
  [[nodiscard]] std::wstring text() const {
    return text_ == nullptr ? std::wstring() : std::wstring(text_, SysStringLen(text_));
  }

 private:
  BSTR text_ = nullptr;
};

// A VARIANT variable of a host; each maker says what it holds.
class VariantVariable {
 public:
  VariantVariable() { VariantInit(&variant_); }
  VariantVariable(VariantVariable&& other) noexcept : variant_(other.variant_) {
    VariantInit(&other.variant_);
  }
  VariantVariable& operator=(VariantVariable&&) = delete;
  ~VariantVariable() { VariantClear(&variant_); }

  static VariantVariable text(std::wstring_view text);
  static VariantVariable number(double number);
  static VariantVariable integer(LONG number);
  static VariantVariable boolean(bool value);
  static VariantVariable object(IDispatch* object);
  // Refers to a variable of the caller, as script hosts pass theirs.
  static VariantVariable reference(VARIANT* variable);
  static VariantVariable reference(BSTR* variable);
  static VariantVariable reference(LONG* variable);
  static VariantVariable reference(double* variable);
  static VariantVariable omitted();

  VARIANT* operator&() { return &variant_; }
  [[nodiscard]] const VARIANT& get() const { return variant_; }
  [[nodiscard]] VARTYPE type() const { return variant_.vt; }
  // "VT_BSTR 4464" and so on, for comparing.
  [[nodiscard]] std::wstring shown() const;

 private:
  VARIANT variant_;
};

// What a late-bound call came to.
struct LateBoundResult {
  HRESULT status = S_OK;
  VariantVariable value;
  HRESULT error = 0;  // the EXCEPINFO's
  std::wstring description;
  std::wstring source;
  UINT argument = ~0U;
};

// Calls by name; the arguments stand in the order of the member's parameters.
LateBoundResult invoke(IDispatch* object, const wchar_t* name, WORD flags,
                       std::vector<VariantVariable> arguments,
                       const std::vector<const wchar_t*>& names = {});

}  // namespace plexum::test
