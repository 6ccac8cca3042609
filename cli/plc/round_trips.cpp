#include "cli/plc/round_trips.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace plexum::cli {

// Keeps a sample of bounded size in which every round trip has the same chance to be (reservoir
// sampling).
void RoundTrips::add(Duration time) {
  constexpr std::size_t kMostKept = 100'000;
  ++count_;
  shortest_ = std::min(shortest_, time);
  longest_ = std::max(longest_, time);
  if (times_.size() < kMostKept) {
    times_.push_back(time);
    return;
  }
  const std::size_t place = std::uniform_int_distribution<std::size_t>(0, count_ - 1)(random_);
  if (place < kMostKept) times_[place] = time;
}

double RoundTrips::quantile(double share) const {
  using Milliseconds = std::chrono::duration<double, std::milli>;
  if (share <= 0) return Milliseconds(shortest_).count();
  if (share >= 1) return Milliseconds(longest_).count();
  std::vector<Duration> sorted = times_;
  const auto position =
      static_cast<std::ptrdiff_t>(std::ceil(share * static_cast<double>(sorted.size() - 1) - 1e-9));
  std::nth_element(sorted.begin(), sorted.begin() + position, sorted.end());
  return Milliseconds(sorted[static_cast<std::size_t>(position)]).count();
}

std::string RoundTrips::summary() const {
  if (times_.empty()) return "no round trip";
  char text[120];
  std::snprintf(text, sizeof text, "min %.3f, median %.3f, 99 %% %.3f, max %.3f ms", quantile(0),
                quantile(0.5), quantile(0.99), quantile(1));
  return text;
}

}  // namespace plexum::cli
