#include "cli/plc/poll.h"

#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <vector>

namespace plexum::cli {
namespace {

using namespace std::chrono_literals;

TEST(PollTest, PausesGrowToTenSeconds) {
  std::vector<std::chrono::milliseconds> pauses;
  for (unsigned number = 1; number <= 6; ++number) pauses.push_back(pause_after_failure(number));
  EXPECT_EQ(pauses, (std::vector<std::chrono::milliseconds>{1s, 2s, 4s, 8s, 10s, 10s}));
  EXPECT_EQ(pause_after_failure(std::numeric_limits<unsigned>::max()), 10s);
}

}  // namespace
}  // namespace plexum::cli
