#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

namespace plexum::cli {

// The round-trip times of a run, for its closing line.
class RoundTrips {
 public:
  using Duration = std::chrono::steady_clock::duration;

  void add(Duration time) { times_.push_back(time); }
  [[nodiscard]] std::size_t count() const { return times_.size(); }

  // The time below which `share` of all times lie (0 the minimum, 0.5 the median, 1 the maximum),
  // in milliseconds. There must be at least one.
  [[nodiscard]] double quantile(double share) const;

  // "min 0.211, median 0.250, 99 % 0.401, max 0.502 ms".
  [[nodiscard]] std::string summary() const;

 private:
  std::vector<Duration> times_;
};

}  // namespace plexum::cli
