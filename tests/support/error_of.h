#pragma once

#include <cstdint>

#include "base/runtime_error.h"

namespace plexum::test {

// The number of the run-time error that `call` raises, 0 for none.
template <typename Call>
std::int32_t error_of(Call call) {
  try {
    call();
  } catch (const RuntimeError& error) {
    return error.number();
  }
  return 0;
}

}  // namespace plexum::test
