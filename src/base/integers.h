#pragma once

#include <cmath>
#include <cstdint>

#include "base/runtime_error.h"

namespace plexum {

// The nearest integer, halves to the even neighbour: the default rounding of every platform that
// the control runs on.
inline double half_even(double number) { return std::nearbyint(number); }

// A number as a 32-bit integer, halves to even; error 6 beyond its range.
inline std::int32_t to_int32(double number) {
  const double rounded = half_even(number);
  if (!(rounded >= -2147483648.0 && rounded <= 2147483647.0)) throw RuntimeError(kOverflow);
  return static_cast<std::int32_t>(rounded);
}

// A number as a 16-bit integer, halves to even; error 6 beyond its range.
inline std::int16_t to_int16(double number) {
  const double rounded = half_even(number);
  if (!(rounded >= -32768.0 && rounded <= 32767.0)) throw RuntimeError(kOverflow);
  return static_cast<std::int16_t>(rounded);
}

}  // namespace plexum
