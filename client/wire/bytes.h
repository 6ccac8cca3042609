#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace plexum::wire {

// Takes big-endian numbers off the front of bytes that may be anything: past their end it gives
// zeros, and ok() is false from then on.
class Reader {
 public:
  explicit Reader(std::string_view bytes) : bytes_(bytes) {}

  [[nodiscard]] std::size_t left() const { return bytes_.size(); }
  [[nodiscard]] bool ok() const { return ok_; }

  std::uint8_t u8() { return static_cast<std::uint8_t>(number(1)); }
  std::uint16_t u16() { return static_cast<std::uint16_t>(number(2)); }
  std::uint32_t u24() { return number(3); }
  std::uint32_t u32() { return number(4); }

  // What there is of the next `count` bytes.
  std::string_view take(std::size_t count) {
    if (count > bytes_.size()) ok_ = false;
    return available(count);
  }

  // The same, where it is no fault that there are fewer.
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

// Appends big-endian numbers to a byte string. Numbers are cut to their field's width.
class Writer {
 public:
  explicit Writer(std::string& bytes) : bytes_(bytes) {}

  Writer& u8(std::size_t value) { return number(value, 1); }
  Writer& u16(std::size_t value) { return number(value, 2); }
  Writer& u24(std::size_t value) { return number(value, 3); }
  Writer& u32(std::size_t value) { return number(value, 4); }
  Writer& bytes(std::string_view bytes) {
    bytes_.append(bytes);
    return *this;
  }
  Writer& zeros(std::size_t count) {
    bytes_.append(count, '\0');
    return *this;
  }

  [[nodiscard]] std::size_t size() const { return bytes_.size(); }

  // Overwrites two bytes that were appended before.
  void put_u16(std::size_t position, std::size_t value) {
    bytes_[position] = static_cast<char>(value >> 8);
    bytes_[position + 1] = static_cast<char>(value);
  }

 private:
  Writer& number(std::size_t value, int width) {
    for (int shift = 8 * (width - 1); shift >= 0; shift -= 8) {
      bytes_.push_back(static_cast<char>(value >> shift));
    }
    return *this;
  }

  std::string& bytes_;
};

}  // namespace plexum::wire
