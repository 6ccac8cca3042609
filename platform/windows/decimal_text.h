#pragma once

#include <string>

#include "platform/windows/windows_headers.h"

namespace plexum::windows {

// Numbers in texts (UTF-8) as OLE Automation reads and writes them by a locale: what VB hosts do
// when they assign a text to a number or a number to a text.

// RuntimeError 6 for a number beyond the range of a double, 13 for a text that is no number.
double number_from_text(const std::string& text, LCID locale = LOCALE_USER_DEFAULT);

// Up to 15 significant digits, no trailing zeros; with an exponent from 1E+15 on and for small
// numbers (from where on is the system's own rule). RuntimeError 6 unless finite.
std::string text_from_number(double number, LCID locale = LOCALE_USER_DEFAULT);

}  // namespace plexum::windows
