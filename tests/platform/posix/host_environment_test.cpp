#include "platform/posix/host_environment.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "platform/posix/event_loop.h"

namespace plexum::posix {
namespace {

TEST(PosixHostEnvironmentTest, SpeaksWithItsSeparatorAndWaitsOnItsLoop) {
  EventLoop loop;
  PosixHostEnvironment environment(loop, ',');
  EXPECT_EQ(environment.number_from_text("0,5"), 0.5);
  EXPECT_EQ(environment.text_from_number(0.5), "0,5");

  const std::uint32_t start = environment.tick_count();
  environment.wait_for_input(5);
  EXPECT_GE(environment.tick_count() - start, 5u) << "a wait that nothing ended is never short";
  bool ran = false;
  loop.post([&] { ran = true; });
  environment.wait_for_input(10000);
  EXPECT_FALSE(ran);
  environment.process_messages();
  EXPECT_TRUE(ran);
}

}  // namespace
}  // namespace plexum::posix
