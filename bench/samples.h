#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace plexum::bench {

// The value below which a part (0 to 1) of the values lies.
double percentile(std::vector<double> values, double part);
inline double median(std::vector<double> values) { return percentile(std::move(values), 0.5); }

// One run of the same operation many times. Times in microseconds.
struct Sample {
  double median = 0;
  double p99 = 0;
  double processor = 0;  // this process's processor time an operation
};
Sample sample(int operations, const std::function<void()>& operation);

// What was measured in pairs: each sample of the subject right behind one of the floor, so that
// what disturbs the machine disturbs both.
struct Pairs {
  std::vector<Sample> floor;
  std::vector<Sample> subject;

  // The median over all samples of one of their figures, and over all pairs of its ratio and of its
  // difference.
  static double typical(const std::vector<Sample>& samples, double Sample::*figure);
  [[nodiscard]] double ratio(double Sample::*figure) const;
  [[nodiscard]] double difference(double Sample::*figure) const;
};
Pairs measure_pairs(int pairs, int operations, const std::function<void()>& floor,
                    const std::function<void()>& subject);

// "1.07"
std::string fixed(double value, int digits);

}  // namespace plexum::bench
