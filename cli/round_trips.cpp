#include "cli/round_trips.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace plexum::cli {

double RoundTrips::quantile(double share) const {
  std::vector<Duration> sorted = times_;
  const auto position =
      static_cast<std::ptrdiff_t>(std::ceil(share * static_cast<double>(sorted.size() - 1) - 1e-9));
  std::nth_element(sorted.begin(), sorted.begin() + position, sorted.end());
  const std::chrono::duration<double, std::milli> time = sorted[static_cast<std::size_t>(position)];
  return time.count();
}

std::string RoundTrips::summary() const {
  if (times_.empty()) return "no round trip";
  char text[120];
  std::snprintf(text, sizeof text, "min %.3f, median %.3f, 99 %% %.3f, max %.3f ms", quantile(0),
                quantile(0.5), quantile(0.99), quantile(1));
  return text;
}

}  // namespace plexum::cli
