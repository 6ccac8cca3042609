#pragma once

#include <chrono>
#include <cstddef>
#include <random>
#include <string>
#include <vector>

namespace plexum::cli {

// The round-trip times of a run, for its closing line.
class RoundTrips {
 public:
  using Duration = std::chrono::steady_clock::duration;

  void add(Duration time);
  [[nodiscard]] std::size_t count() const { return count_; }

  // The time below which `share` of all times lie (0 the minimum, 0.5 the median, 1 the maximum),
  // in milliseconds. There must be at least one. Of a very long run it is that of a fair sample.
  [[nodiscard]] double quantile(double share) const;

  // "min 0.211, median 0.250, 99 % 0.401, max 0.502 ms".
  [[nodiscard]] std::string summary() const;

 private:
  std::size_t count_ = 0;
  Duration shortest_ = Duration::max();
  Duration longest_ = Duration::min();
  std::vector<Duration> times_;
  std::minstd_rand random_;
};

}  // namespace plexum::cli
