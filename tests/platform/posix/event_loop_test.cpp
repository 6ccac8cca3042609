#include "platform/posix/event_loop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/time.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/posix/descriptor.h"
#include "platform/posix/fixtures.h"

namespace plexum::posix {
namespace {

using std::chrono::milliseconds;
using test::kLong;
using testing::ElementsAre;

using Log = std::vector<std::string>;

// A descriptor that is ready to be read from put() on.
struct Signal : Descriptor {
  Signal() : Descriptor(::eventfd(0, EFD_CLOEXEC)) {}
  void put() const { EXPECT_EQ(::eventfd_write(get(), 1), 0); }
};

class EventLoopTest : public test::LoopFixture {
 protected:
  EventLoop::Callback note(const std::string& text) {
    return [this, text] { log.push_back(text); };
  }

  void watch(const Signal& signal, const std::string& text) {
    loop.watch(signal.get(), POLLIN, [this, text](short) { log.push_back(text); });
  }

  // What one round noted.
  Log round() {
    log.clear();
    loop.process();
    return log;
  }

  // Whether a wait of so many milliseconds lasts them.
  bool lasts(int time) {
    const auto start = EventLoop::Clock::now();
    loop.wait(milliseconds(time));
    return EventLoop::Clock::now() - start >= milliseconds(time);
  }

  Log log;
};

TEST_F(EventLoopTest, WakesForDataAndRunsTheHandlerOnlyInProcess) {
  const Signal data;
  loop.watch(data.get(), POLLIN, [&](short revents) {
    EXPECT_NE(revents & POLLIN, 0);
    loop.unwatch(data.get());
    log.push_back("data");
  });
  std::thread writer([&] { data.put(); });
  EXPECT_TRUE(wakes());
  writer.join();
  EXPECT_THAT(log, ElementsAre());
  EXPECT_TRUE(wakes()) << "what is remembered must end the next wait as well";
  EXPECT_EQ(round(), Log{"data"});
}

// Also for one that comes just when the loop falls asleep.
TEST_F(EventLoopTest, WakesForEachPostOfAnotherThread) {
  constexpr int kPosts = 300;
  std::atomic<int> ran = 0;
  std::thread poster([&] {
    for (int posted = 1; posted <= kPosts; ++posted) {
      loop.post([&] { ++ran; });
      while (ran < posted) std::this_thread::yield();
    }
  });
  while (ran < kPosts) {
    EXPECT_TRUE(wakes());
    loop.process();
  }
  poster.join();
}

TEST_F(EventLoopTest, WhatARoundPostsAndAddsWaitsForTheNext) {
  const Signal data;
  data.put();
  watch(data, "data");
  EventLoop::Callback post_again = [&] {
    log.emplace_back("post");
    loop.post(post_again);
  };
  EventLoop::Callback add_again = [&] {
    log.emplace_back("timer");
    loop.add_timer(milliseconds(0), add_again);
  };
  loop.post(post_again);
  loop.add_timer(milliseconds(0), add_again);
  for (int rounds = 0; rounds < 2; ++rounds) {
    EXPECT_TRUE(wakes()) << "for a post of the own thread";
    EXPECT_THAT(round(), ElementsAre("timer", "post", "data"));
  }
}

TEST_F(EventLoopTest, TimersRunInTheOrderOfTheirTimes) {
  std::optional<EventLoop::Clock::time_point>& time = test::interposed.time;
  time = EventLoop::Clock::now();
  loop.add_timer(milliseconds(-5), note("past"));
  loop.add_timer(milliseconds(9), note("9"));
  loop.add_timer(milliseconds(2), note("2"));
  const auto cancelled = loop.add_timer(milliseconds(3), note("cancelled"));
  loop.add_timer(milliseconds(2), note("2 again"));
  loop.cancel_timer(cancelled);
  loop.cancel_timer(cancelled);
  for (const Log& due : {Log{"past"}, Log{"2", "2 again"}, Log{"9"}}) {
    EXPECT_EQ(round(), due);
    *time += milliseconds(5);
  }
}

// Waits that end early leave a timer behind, which must not shorten a later one.
TEST_F(EventLoopTest, ATimerEndsAWaitButNeitherASignalNorAnEarlierWaitDoes) {
  loop.add_timer(milliseconds(1), note("timer"));
  EXPECT_TRUE(wakes());
  EXPECT_EQ(round(), Log{"timer"});

  const auto before = std::signal(SIGALRM, [](int) {});
  const itimerval often{{0, 5000}, {0, 5000}};  // microseconds
  ::setitimer(ITIMER_REAL, &often, nullptr);
  EXPECT_TRUE(lasts(20));
  const itimerval never{};
  ::setitimer(ITIMER_REAL, &never, nullptr);
  std::signal(SIGALRM, before);

  const Signal data;
  data.put();
  watch(data, "data");
  for (int early = 0; early < 3; ++early) {
    EXPECT_FALSE(lasts(10));
    loop.process();
  }
  loop.unwatch(data.get());
  EXPECT_TRUE(lasts(20) && lasts(20));
}

// Two descriptors are ready in the same round; the handler of whichever runs first does something
// to the other.
class ReadyTogether : public EventLoopTest {
 protected:
  void watch_both(const std::function<void(int other)>& first) {
    for (const auto& [signal, other] : {std::pair(&one, &two), std::pair(&two, &one)}) {
      signal->put();
      loop.watch(signal->get(), POLLIN, [this, first, other = other](short) {
        if (++runs == 1) first(other->get());
      });
    }
  }

  Signal one;
  Signal two;
  int runs = 0;
};

TEST_F(ReadyTogether, TheOthersPlaceGoesToANewDescriptor) {
  const Signal fresh;
  watch_both([&](int other) {
    loop.unwatch(other);
    watch(fresh, "fresh");
  });
  EXPECT_EQ(round(), Log{}) << "the new one isn't ready";
  EXPECT_EQ(runs, 1);
  fresh.put();
  EXPECT_EQ(round(), Log{"fresh"});
}

TEST_F(ReadyTogether, TheOtherRunsInANestedRoundAndNotTwice) {
  watch_both([&](int other) {
    loop.wait(kLong);
    loop.process();
    EXPECT_EQ(runs, 2);
    loop.unwatch(other);
  });
  loop.process();
  EXPECT_EQ(runs, 2);
}

TEST_F(ReadyTogether, OneThatThrowsLeavesTheOtherForTheNextRound) {
  watch_both([&](int) { throw std::runtime_error("handler"); });
  EXPECT_THROW(loop.process(), std::runtime_error);
  EXPECT_EQ(runs, 1);
  loop.process();
  EXPECT_GE(runs, 2);
}

TEST_F(ReadyTogether, WhatAnOwnerTakesIsNotHandled) {
  watch_both([](int) {});
  loop.wait(kLong);
  EXPECT_NE(loop.take_ready(one.get()) & POLLIN, 0);
  EXPECT_EQ(loop.take_ready(one.get()), 0);
  loop.process();
  EXPECT_EQ(runs, 1);
}

TEST_F(EventLoopTest, AHandlerMayReplaceItselfWhileItRuns) {
  const Signal data;
  data.put();
  const std::string long_text(100, 'x');  // something to be destroyed with the handler
  loop.watch(data.get(), POLLIN, [&, long_text](short) {
    watch(data, "second");
    loop.unwatch(data.get());
    watch(data, "third");
    log.push_back(long_text.substr(0, 1));
  });
  EXPECT_EQ(round(), Log{"x"});
  EXPECT_EQ(round(), Log{"third"});
}

TEST_F(EventLoopTest, APostRunsTheOthersInsideItself) {
  loop.post([&] {
    log.emplace_back("outer");
    loop.wait(kLong);
    loop.process();
    log.emplace_back("outer ends");
  });
  loop.post(note("inner"));
  EXPECT_THAT(round(), ElementsAre("outer", "inner", "outer ends"));
}

TEST_F(EventLoopTest, StopEndsTheInnermostRunAlsoWhenItComesBefore) {
  loop.stop();
  loop.run();

  loop.post([&] {
    loop.post([&] { loop.stop(); });
    loop.run();
    log.emplace_back("inner run ended");
    std::thread([&] { loop.stop(); }).join();
  });
  loop.run();
  EXPECT_EQ(log, Log{"inner run ended"});
}

TEST(EventLoopPosterTest, OutlivesTheLoop) {
  struct PostsAtItsEnd {
    ~PostsAtItsEnd() {
      poster.post([] {});
    }
    EventLoop::Poster poster;
  };
  std::optional<EventLoop> loop(std::in_place);
  const EventLoop::Poster poster = loop->poster();
  const std::shared_ptr<PostsAtItsEnd> held(new PostsAtItsEnd{poster});
  loop->post([held] { FAIL(); });
  loop->post([last = std::shared_ptr<PostsAtItsEnd>(new PostsAtItsEnd{poster})] {});
  loop.reset();
  EXPECT_EQ(held.use_count(), 1) << "the loop must drop what it didn't run";
  poster.post([held] { FAIL(); });
  EXPECT_EQ(held.use_count(), 1);
}

}  // namespace
}  // namespace plexum::posix
