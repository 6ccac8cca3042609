#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace plexum {

struct Value;

// An array whose elements are all double-precision numbers.
struct DoubleArray {
  std::int32_t lower = 1;  // index of the first element
  std::vector<double> elements;

  bool operator==(const DoubleArray&) const = default;
};

// An array whose elements carry a type each.
struct VariantArray {
  std::int32_t lower = 1;  // index of the first element
  std::vector<Value> elements;

  bool operator==(const VariantArray&) const = default;
};

// The result of a job, exactly as the host is to see it: the alternatives are empty, Boolean,
// Integer (16 bit), Long (32 bit), Double, String (one char a byte) and the two kinds of array.
struct Value : std::variant<std::monostate, bool, std::int16_t, std::int32_t, double, std::string,
                            DoubleArray, VariantArray> {
  using variant::variant;

  [[nodiscard]] bool is_empty() const noexcept { return index() == 0; }
};

}  // namespace plexum
