#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace plexum::cli {

// Takes big-endian numbers from the front of any bytes. Past the end it gives zeros, and ok() is
// false from then on.
class ByteCursor {
 public:
  explicit ByteCursor(std::string_view bytes) : bytes_(bytes) {}

  [[nodiscard]] std::size_t left() const { return bytes_.size(); }
  [[nodiscard]] bool ok() const { return ok_; }

  std::uint32_t u8() { return number(1); }
  std::uint32_t u16() { return number(2); }
  std::uint32_t u24() { return number(3); }
  std::uint32_t u32() { return number(4); }

  // The next `count` bytes, or the fewer that are left; then ok() turns false.
  std::string_view take(std::size_t count) {
    if (count > bytes_.size()) ok_ = false;
    return available(count);
  }

  // The same, but it is no fault when there are fewer.
  std::string_view available(std::size_t count) {
    const std::string_view taken = bytes_.substr(0, count);
    bytes_.remove_prefix(taken.size());
    return taken;
  }

 private:
  std::uint32_t number(std::size_t width) {
    std::uint32_t value = 0;
    for (const char byte : take(width)) value = value << 8 | static_cast<unsigned char>(byte);
    return ok_ ? value : 0;
  }

  std::string_view bytes_;
  bool ok_ = true;
};

}  // namespace plexum::cli
