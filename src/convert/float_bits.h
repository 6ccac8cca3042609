#pragma once

#include <string>

namespace plexum {

// The value of a text of "0" and "1", most significant bit first; any other character counts as 0.
double number_from_bits(const std::string& bits);

}  // namespace plexum
