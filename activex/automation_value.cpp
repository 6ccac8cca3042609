#include "activex/automation_value.h"

#include <cstddef>
#include <new>
#include <variant>
#include <vector>

#include "activex/com_error.h"
#include "platform/windows/bstr.h"
#include "platform/windows/code_page.h"

namespace plexum::activex {
namespace {

BSTR new_byte_string(const std::string& bytes) {
  return windows::new_bstr(windows::CodePage::ansi().text_from_bytes(bytes));
}

// Makes a one-dimensional array and fills it through its elements' memory.
template <typename Element, typename Source, typename Fill>
void store_array(VARIANT& result, VARTYPE type, std::int32_t lower,
                 const std::vector<Source>& elements, Fill fill) {
  SAFEARRAY* array = SafeArrayCreateVector(type, lower, static_cast<ULONG>(elements.size()));
  if (array == nullptr) throw std::bad_alloc();
  result.vt = static_cast<VARTYPE>(VT_ARRAY | type);
  result.parray = array;  // from here on the result's owner frees it
  void* memory = nullptr;
  check(SafeArrayAccessData(array, &memory));
  auto* element = static_cast<Element*>(memory);
  try {
    for (std::size_t i = 0; i < elements.size(); ++i) fill(element[i], elements[i]);
  } catch (...) {
    SafeArrayUnaccessData(array);
    throw;
  }
  check(SafeArrayUnaccessData(array));
}

// One overload for each type that a value may have; `variant` is empty before.
struct Filler {
  VARIANT& variant;

  void operator()(std::monostate) const {}
  void operator()(bool value) const {
    variant.vt = VT_BOOL;
    variant.boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
  }
  void operator()(std::int16_t value) const {
    variant.vt = VT_I2;
    variant.iVal = value;
  }
  void operator()(std::int32_t value) const {
    variant.vt = VT_I4;
    variant.lVal = value;
  }
  void operator()(double value) const {
    variant.vt = VT_R8;
    variant.dblVal = value;
  }
  void operator()(const std::string& bytes) const {
    variant.bstrVal = new_byte_string(bytes);
    variant.vt = VT_BSTR;
  }
  void operator()(const DoubleArray& array) const {
    store_array<double>(variant, VT_R8, array.lower, array.elements,
                        [](double& element, double value) { element = value; });
  }
  void operator()(const VariantArray& array) const {
    store_array<VARIANT>(
        variant, VT_VARIANT, array.lower, array.elements,
        [](VARIANT& element, const Value& value) { std::visit(Filler{element}, value); });
  }
};

}  // namespace

void store(VARIANT* result, const Value& value) {
  OwnedVariant variant;
  std::visit(Filler{variant.get()}, value);
  *result = variant.release();
}

void store(VARIANT_BOOL* result, bool value) { *result = value ? VARIANT_TRUE : VARIANT_FALSE; }

void store(BSTR* result, const std::string& bytes) { *result = new_byte_string(bytes); }

void store(TextResult result, const std::string& text) {
  *result.variable = windows::new_bstr(windows::utf16_from_utf8(text));
}

}  // namespace plexum::activex
