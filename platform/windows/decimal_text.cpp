#include "platform/windows/decimal_text.h"

#include <cmath>
#include <new>

#include "base/runtime_error.h"
#include "platform/windows/bstr.h"
#include "platform/windows/code_page.h"

namespace plexum::windows {

double number_from_text(const std::string& text, LCID locale) {
  std::wstring wide = utf16_from_utf8(text);
  // A conversion that stops at the first NUL would read "1\0x" as 1.
  if (wide.find(L'\0') != std::wstring::npos) throw RuntimeError(kTypeMismatch);
  double number = 0;
  const HRESULT result = VarR8FromStr(wide.data(), locale, 0, &number);
  if (result == DISP_E_OVERFLOW) throw RuntimeError(kOverflow);
  if (FAILED(result)) throw RuntimeError(kTypeMismatch);
  return number;
}

std::string text_from_number(double number, LCID locale) {
  if (!std::isfinite(number)) throw RuntimeError(kOverflow);  // the system would write "INF"
  Bstr text;
  if (FAILED(VarBstrFromR8(number, locale, 0, text.out()))) throw std::bad_alloc();
  return utf8_from_utf16(text.view());
}

}  // namespace plexum::windows
