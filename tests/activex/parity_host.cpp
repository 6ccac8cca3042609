// Drives one control by lines on standard input, late bound with variables by reference, and says
// what each call came to: the control's side of parity_test.py.
//
// A line is the kind (call, get, set), the member and its arguments, each argument as the hex codes
// of its bytes after "x"; an answer is one line of fields that parity_test.py also makes of the
// answers of `plexum host`.
#include <array>
#include <cstdio>
#include <iostream>
#include <sstream>

#include "activex/control_host.h"
#include "support/hex.h"

namespace plexum::test {
namespace {

// The characters of the system's ANSI code page, as hosts see bytes.
std::array<wchar_t, 256> ansi_characters() {
  std::array<wchar_t, 256> characters{};
  for (unsigned byte = 0; byte < 256; ++byte) {
    const char narrow = static_cast<char>(byte);
    characters[byte] = static_cast<wchar_t>(byte);
    MultiByteToWideChar(CP_ACP, 0, &narrow, 1, &characters[byte], 1);
  }
  return characters;
}

std::wstring host_text(const std::string& byte_string) {
  static const auto kCharacters = ansi_characters();
  std::wstring text;
  for (const char byte : byte_string) text += kCharacters[static_cast<unsigned char>(byte)];
  return text;
}

std::string hex_of(BSTR text) {
  static const auto kCharacters = ansi_characters();
  std::string result = "x";
  for (UINT i = 0; i < SysStringLen(text); ++i) {
    unsigned byte = 0;
    while (byte < 255 && kCharacters[byte] != text[i]) ++byte;
    char digits[3];
    std::snprintf(digits, sizeof digits, "%02x", byte);
    result += digits;
  }
  return result;
}

std::string shown(const VARIANT& value);

template <typename Element, typename Show>
std::string shown_array(const char* name, SAFEARRAY* array, Show show) {
  LONG lower = 0;
  LONG upper = 0;
  SafeArrayGetLBound(array, 1, &lower);
  SafeArrayGetUBound(array, 1, &upper);
  void* memory = nullptr;
  SafeArrayAccessData(array, &memory);
  std::string result = name + std::to_string(lower) + "[";
  for (LONG i = 0; i <= upper - lower; ++i) result += show(static_cast<Element*>(memory)[i]) + " ";
  SafeArrayUnaccessData(array);
  return result + "]";
}

std::string shown_double(double number) {
  char text[40];
  std::snprintf(text, sizeof text, "%.17g", number);
  return text;
}

std::string shown(const VARIANT& value) {
  switch (value.vt) {
    case VT_EMPTY:
      return "Empty";
    case VT_BOOL:
      return value.boolVal == VARIANT_TRUE ? "Boolean:1" : "Boolean:0";
    case VT_I2:
      return "Integer:" + std::to_string(value.iVal);
    case VT_I4:
      return "Long:" + std::to_string(value.lVal);
    case VT_R8:
      return "Double:" + shown_double(value.dblVal);
    case VT_BSTR:
      return "String:" + hex_of(value.bstrVal);
    case VT_ARRAY | VT_R8:
      return shown_array<double>("Double()", value.parray, shown_double);
    case VT_ARRAY | VT_VARIANT:
      return shown_array<VARIANT>("Variant()", value.parray, shown);
    default:
      return "vt" + std::to_string(value.vt);
  }
}

std::string state_of(IDispatch* link) {
  std::string result;
  for (const wchar_t* name : {L"err", L"inuse", L"s7init", L"auftrag_Fehler"}) {
    result += " " + shown(invoke(link, name, DISPATCH_PROPERTYGET, {}).value.get());
  }
  return result;
}

std::string answer(IDispatch* link, const std::string& line) {
  std::istringstream fields(line);
  std::string kind;
  std::string member;
  fields >> kind >> member;
  std::vector<VariantVariable> variables;
  for (std::string field; fields >> field;) {
    variables.push_back(VariantVariable::text(host_text(bytes(field.substr(1)))));
  }
  std::vector<VariantVariable> arguments;
  for (VariantVariable& variable : variables) {
    arguments.push_back(VariantVariable::reference(&variable));
  }
  const WORD flags = kind == "get"   ? DISPATCH_PROPERTYGET
                     : kind == "set" ? DISPATCH_PROPERTYPUT
                                     : DISPATCH_METHOD | DISPATCH_PROPERTYGET;
  const std::wstring name(member.begin(), member.end());
  const auto result = invoke(link, name.c_str(), flags, std::move(arguments));

  std::string text = result.status == S_OK ? shown(result.value.get())
                     : result.status == DISP_E_EXCEPTION
                         ? "error:" + std::to_string(result.error & 0xFFFF)
                         : "status:" + std::to_string(result.status);
  text += " |";
  if (kind == "call") {
    for (const VariantVariable& variable : variables) text += " " + shown(variable.get());
  }
  return text + " |" + state_of(link);
}

int run() {
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  {
    const ControlFile file;
    const ComPtr<_PlexumLink> link = file.create();
    for (std::string line; std::getline(std::cin, line);) {
      std::cout << answer(link.Get(), line) << std::endl;
    }
  }
  CoUninitialize();
  return 0;
}

}  // namespace
}  // namespace plexum::test

int main() { return plexum::test::run(); }
