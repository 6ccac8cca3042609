#pragma once

#include <new>
#include <string_view>

#include "platform/windows/windows_headers.h"

namespace plexum::windows {

// The characters of a BSTR, NULs included; a null BSTR is an empty text.
inline std::wstring_view view_of(BSTR text) {
  return text == nullptr ? std::wstring_view() : std::wstring_view(text, SysStringLen(text));
}

// A new BSTR, owned by the caller.
inline BSTR new_bstr(std::wstring_view text) {
  BSTR result = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
  if (result == nullptr) throw std::bad_alloc();
  return result;
}

// Owns a BSTR.
class Bstr {
 public:
  Bstr() = default;
  explicit Bstr(std::wstring_view text) : text_(new_bstr(text)) {}
  Bstr(const Bstr&) = delete;
  Bstr& operator=(const Bstr&) = delete;
  ~Bstr() { SysFreeString(text_); }

  [[nodiscard]] BSTR get() const noexcept { return text_; }
  [[nodiscard]] std::wstring_view view() const { return view_of(text_); }

  // For a function that returns a BSTR through a pointer; frees what was held.
  [[nodiscard]] BSTR* out() noexcept {
    SysFreeString(text_);
    text_ = nullptr;
    return &text_;
  }

 private:
  BSTR text_ = nullptr;
};

}  // namespace plexum::windows
