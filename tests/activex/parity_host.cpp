// Drives one control by lines on standard input, late bound with variables by reference, and says
// what each call came to: the control's side of parity_test.py.
//
// A line is the kind (call, get, set), the member and its arguments, each argument as the hex codes
// of its bytes after "x"; an answer is one line of fields that parity_test.py also makes of the
// answers of `plexum host`.
#include <array>
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

// A text as the hex codes of its bytes.
std::wstring hex_of(std::wstring_view text) {
  static const auto kCharacters = ansi_characters();
  std::wstring result = L"x";
  for (const wchar_t character : text) {
    unsigned byte = 0;
    while (byte < 255 && kCharacters[byte] != character) ++byte;
    for (const unsigned digit : {byte / 16, byte % 16}) result += L"0123456789abcdef"[digit];
  }
  return result;
}

std::string shown_in_hex(const VARIANT& value) {
  const std::wstring text = shown(value, hex_of);
  return {text.begin(), text.end()};
}

std::string state_of(IDispatch* link) {
  std::string result;
  for (const wchar_t* name : {L"err", L"inuse", L"s7init", L"auftrag_Fehler"}) {
    result += " " + shown_in_hex(invoke(link, name, DISPATCH_PROPERTYGET, {}).value.get());
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
    variables.emplace_back(host_text(bytes(field.substr(1))));
  }
  std::vector<VariantVariable> arguments;
  for (VariantVariable& variable : variables) arguments.emplace_back(&variable);
  const WORD flags = kind == "get"   ? DISPATCH_PROPERTYGET
                     : kind == "set" ? DISPATCH_PROPERTYPUT
                                     : DISPATCH_METHOD | DISPATCH_PROPERTYGET;
  const std::wstring name(member.begin(), member.end());
  const auto result = invoke(link, name.c_str(), flags, arguments);

  std::string text = result.status == S_OK ? shown_in_hex(result.value.get())
                     : result.status == DISP_E_EXCEPTION
                         ? "error:" + std::to_string(result.error & 0xFFFF)
                         : "status:" + std::to_string(result.status);
  text += " |";
  if (kind == "call") {
    for (const VariantVariable& variable : variables) text += " " + shown_in_hex(variable.get());
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
