#pragma once

#include <chrono>
#include <cstddef>
#include <random>
#include <string>
#include <vector>

namespace plexum::cli {

// The round-trip times of a run, and their statistics.
class RoundTrips {
 public:
  using Duration = std::chrono::steady_clock::duration;

  void add(Duration time);
  [[nodiscard]] std::size_t count() const { return count_; }

  // The time in milliseconds below which this share of all times lies: 0 the minimum, 0.5 the
  // median, 1 the maximum. There must be at least one time. In a run of more than 100000 round
  // trips shares other than 0 and 1 are those of a random sample.
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
