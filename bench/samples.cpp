#include "bench/samples.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <utility>

namespace plexum::bench {
namespace {

using Clock = std::chrono::steady_clock;

double microseconds(Clock::duration time) {
  return std::chrono::duration<double, std::micro>(time).count();
}

// Of this process, in microseconds, where the system tells it.
double processor_time() {
#ifdef _WIN32
  return 0;
#else
  timespec time{};
  ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) / 1e3;
#endif
}

}  // namespace

double percentile(std::vector<double> values, double part) {
  if (values.empty()) return 0;
  const auto last = static_cast<double>(values.size() - 1);
  const auto place = values.begin() + static_cast<std::ptrdiff_t>(std::lround(part * last));
  std::nth_element(values.begin(), place, values.end());
  return *place;
}

Sample sample(int operations, const std::function<void()>& operation) {
  std::vector<double> times;
  times.reserve(static_cast<std::size_t>(operations));
  const double before = processor_time();
  for (int i = 0; i < operations; ++i) {
    const Clock::time_point start = Clock::now();
    operation();
    times.push_back(microseconds(Clock::now() - start));
  }
  const double used = processor_time() - before;
  return {median(times), percentile(times, 0.99), used / operations};
}

double Pairs::typical(const std::vector<Sample>& samples, double Sample::*figure) {
  std::vector<double> values;
  for (const Sample& each : samples) values.push_back(each.*figure);
  return median(std::move(values));
}

double Pairs::ratio(double Sample::*figure) const {
  std::vector<double> values;
  for (std::size_t i = 0; i < floor.size(); ++i) {
    values.push_back(subject[i].*figure / floor[i].*figure);
  }
  return median(std::move(values));
}

double Pairs::difference(double Sample::*figure) const {
  std::vector<double> values;
  for (std::size_t i = 0; i < floor.size(); ++i) {
    values.push_back(subject[i].*figure - floor[i].*figure);
  }
  return median(std::move(values));
}

Pairs measure_pairs(int pairs, int operations, const std::function<void()>& floor,
                    const std::function<void()>& subject) {
  Pairs result;
  // The first round only warms up.
  for (int pair = 0; pair <= pairs; ++pair) {
    const Sample below = sample(operations, floor);
    const Sample above = sample(operations, subject);
    if (pair == 0) continue;
    result.floor.push_back(below);
    result.subject.push_back(above);
  }
  return result;
}

std::string fixed(double value, int digits) {
  char text[32];
  std::snprintf(text, sizeof text, "%.*f", digits, value);
  return text;
}

}  // namespace plexum::bench
