#include "fuzz/input.h"

// The name is libFuzzer's.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data,  // NOLINT
                                      std::size_t size) {
  plexum::fuzz::run({data, size});
  return 0;
}
