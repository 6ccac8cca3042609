#pragma once

#include <string>
#include <string_view>

namespace plexum::portable {

// The number of a decimal text: blanks (space, tab) around, a sign, digits with at most one
// separator among them, an exponent (E or e, a sign, digits); at least one digit and, behind an
// E, one more. RuntimeError 13 for any other text, 6 beyond the range of a double; what is too
// small for a double is 0. No locale but the separator counts.
double number_from_text(std::string_view text, char separator);

// The text of a number, as hosts on Windows see it: up to 15 significant digits without trailing
// zeros; with an exponent of at least two digits from 1E+15 on, and below 0.0001 where plain
// decimals would be more than 15, and for 1E-15. RuntimeError 6 unless finite.
std::string text_from_number(double number, char separator);

}  // namespace plexum::portable
