#pragma once

#include <cstdint>
#include <string>

#include "activex/com_headers.h"
#include "base/value.h"

namespace plexum::activex {

// Owns a VARIANT.
class OwnedVariant {
 public:
  OwnedVariant() noexcept { VariantInit(&variant_); }
  ~OwnedVariant() { VariantClear(&variant_); }
  OwnedVariant(const OwnedVariant&) = delete;
  OwnedVariant& operator=(const OwnedVariant&) = delete;

  [[nodiscard]] VARIANT& get() noexcept { return variant_; }
  [[nodiscard]] VARIANT release() noexcept {
    const VARIANT released = variant_;
    VariantInit(&variant_);
    return released;
  }

 private:
  VARIANT variant_{};  // all bits 0: what fails before it fills the value leaves nothing to free
};

// A property's text result, where a plain BSTR result is a byte string.
struct TextResult {
  BSTR* variable;
};

// What a caller finds in its result when the call fails.
inline void clear_result(VARIANT* result) noexcept { VariantInit(result); }
inline void clear_result(BSTR* result) noexcept { *result = nullptr; }
inline void clear_result(TextResult result) noexcept { *result.variable = nullptr; }
inline void clear_result(LONG* result) noexcept { *result = 0; }
inline void clear_result(SHORT* result) noexcept { *result = 0; }

// Whether the caller gave no place for the result.
template <typename Result>
bool is_missing(const Result* result) noexcept {
  return result == nullptr;
}
inline bool is_missing(TextResult result) noexcept { return result.variable == nullptr; }

// Results of the core as the types of OLE Automation, exactly: Integer is VT_I2, Long VT_I4, True
// is -1, byte strings are BSTRs by the system's code page, an array of Double is one of VT_R8, an
// array of Variant keeps each element's type.
void store(VARIANT* result, const Value& value);
void store(VARIANT_BOOL* result, bool value);
void store(BSTR* result, const std::string& bytes);
void store(TextResult result, const std::string& text);
inline void store(LONG* result, std::int32_t value) { *result = value; }
inline void store(SHORT* result, std::int16_t value) { *result = value; }

}  // namespace plexum::activex
