#pragma once

#include <string>

#include "base/host_environment.h"

namespace plexum {

// The value of a text of "0" and "1", most significant bit first; any other character counts as 0.
double number_from_bits(const std::string& bits);

// The 4 bytes of an IEEE 754 single; what it makes of its argument stands at the member of
// PlexumLink. A magnitude of 2^129 or more shows a message box.
std::string flottobeyt(std::string& wert, HostEnvironment& environment);

}  // namespace plexum
