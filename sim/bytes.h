#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

// What the simulated PLC's codec is made of. It shares no code with the control, so that the two
// can't make the same mistake and agree on it.
namespace plexum::sim {

using Bytes = std::vector<std::uint8_t>;
using ByteView = std::span<const std::uint8_t>;

// Input that ends too soon or contradicts itself.
struct Malformed : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Takes big-endian numbers off the front of a byte string. Throws Malformed when it ends too soon.
class Reader {
 public:
  explicit Reader(ByteView bytes) : bytes_(bytes) {}

  std::size_t left() const { return bytes_.size(); }

  ByteView take(std::size_t count) {
    if (count > bytes_.size()) throw Malformed("ends too soon");
    const ByteView taken = bytes_.first(count);
    bytes_ = bytes_.subspan(count);
    return taken;
  }

  std::uint8_t u8() { return take(1)[0]; }
  std::uint16_t u16() { return static_cast<std::uint16_t>(number(2)); }
  std::uint32_t u24() { return number(3); }
  std::uint32_t u32() { return number(4); }

  std::string text(std::size_t count) {
    const ByteView taken = take(count);
    return {taken.begin(), taken.end()};
  }

  // Takes one byte that must be `expected`.
  void expect(std::uint8_t expected, const char* what) {
    if (u8() != expected) throw Malformed(what);
  }

 private:
  std::uint32_t number(std::size_t width) {
    std::uint32_t value = 0;
    for (const std::uint8_t byte : take(width)) value = value << 8 | byte;
    return value;
  }

  ByteView bytes_;
};

// Appends big-endian numbers to a byte string. Numbers are cut to their field's width.
class Writer {
 public:
  Writer& u8(std::size_t value) { return number(value, 1); }
  Writer& u16(std::size_t value) { return number(value, 2); }
  Writer& u32(std::size_t value) { return number(value, 4); }

  Writer& bytes(ByteView bytes) {
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    return *this;
  }

  Writer& text(std::string_view text) {
    bytes_.insert(bytes_.end(), text.begin(), text.end());
    return *this;
  }

  // `text` cut to `width` bytes or filled up with `filler`.
  Writer& field(std::string_view text, std::size_t width, char filler = '\0') {
    std::string exactly(text);
    exactly.resize(width, filler);
    return this->text(exactly);
  }

  Writer& zeros(std::size_t count) {
    bytes_.insert(bytes_.end(), count, std::uint8_t{0});
    return *this;
  }

  std::size_t size() const { return bytes_.size(); }
  Bytes take() { return std::move(bytes_); }

 private:
  Writer& number(std::size_t value, int width) {
    for (int shift = 8 * (width - 1); shift >= 0; shift -= 8) {
      bytes_.push_back(static_cast<std::uint8_t>(value >> shift));
    }
    return *this;
  }

  Bytes bytes_;
};

}  // namespace plexum::sim
