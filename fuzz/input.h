#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>

namespace plexum::fuzz {

// Ends the run as a finding unless it holds.
inline void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", what);
  std::abort();
}

// The fuzzer's bytes, taken from the front. Behind the last one all numbers are 0 and all texts are
// empty, so the choice 0 must be one that leads to an end.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : left_(data, size) {}

  [[nodiscard]] bool empty() const { return left_.empty(); }

  std::uint8_t byte() {
    if (left_.empty()) return 0;
    const std::uint8_t first = left_.front();
    left_ = left_.subspan(1);
    return first;
  }
  std::size_t below(std::size_t count) { return byte() % count; }
  bool flag() { return (byte() & 1) != 0; }

  // At most so many bytes.
  std::string bytes(std::size_t count) {
    const auto taken = left_.first(std::min(count, left_.size()));
    left_ = left_.subspan(taken.size());
    return {taken.begin(), taken.end()};
  }
  // A byte that is a length, and a text of that length.
  std::string text() { return bytes(byte()); }
  std::string rest() { return bytes(left_.size()); }

 private:
  std::span<const std::uint8_t> left_;
};

// What each fuzzer defines: gives one input to what it attacks. Returns, or has a finding.
void run(Input input);

}  // namespace plexum::fuzz
