#pragma once

#include <string>

#include "base/host_environment.h"

namespace plexum {

// Takes 65536 from the number in `wert` while it is at least `least` (about 65536 or more), each
// time by way of its text of 15 significant digits, and returns how often. `wert` is left with the
// rest as text; a number from which nothing is to be taken stays as it was written.
//
// The outcome is that of the plain loop, also for numbers that the loop would need days for. Error
// 5, and `wert` unchanged, where the loop would never end because the text of a number that large
// doesn't show a difference of 65536.
double take_words(std::string& wert, HostEnvironment& environment, double least);

}  // namespace plexum
