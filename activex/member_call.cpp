#include "activex/member_call.h"

#include "activex/com_error.h"
#include "platform/windows/bstr.h"
#include "platform/windows/code_page.h"

namespace plexum::activex {
namespace {

std::string read_bytes(BSTR text) {
  return windows::CodePage::ansi().bytes_from_text(windows::view_of(text));
}

BSTR* existing(BSTR* variable) {
  if (variable == nullptr) throw ComError(E_POINTER);
  return variable;
}

}  // namespace

std::string text_of(BSTR value) { return windows::utf8_from_utf16(windows::view_of(value)); }

LocalArgument::LocalArgument(TextVariable argument)
    : variable_(existing(argument.variable)), value_(text_of(*variable_)), original_(value_) {}

LocalArgument::LocalArgument(BytesVariable argument)
    : variable_(existing(argument.variable)),
      is_text_(false),
      value_(read_bytes(*variable_)),
      original_(value_) {}

LocalArgument::LocalArgument(BytesOfVariant argument) {
  if (argument.variable == nullptr) throw ComError(E_POINTER);
  OwnedVariant text;
  check(VariantChangeType(&text.get(), argument.variable, 0, VT_BSTR));
  value_ = read_bytes(text.get().bstrVal);
}

void LocalArgument::write_back() {
  if (variable_ == nullptr || value_ == original_) return;
  BSTR changed = windows::new_bstr(is_text_ ? windows::utf16_from_utf8(value_)
                                            : windows::CodePage::ansi().text_from_bytes(value_));
  SysFreeString(*variable_);
  *variable_ = changed;
}

}  // namespace plexum::activex
