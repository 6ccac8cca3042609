#include "platform/posix/event_loop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pthread.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "platform/posix/descriptor.h"
#include "platform/posix/run_loop.h"

namespace plexum::posix {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::ElementsAre;

constexpr milliseconds kLong = seconds(10);

struct Pipe {
  Pipe() {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) throw std::runtime_error("pipe");
    out.reset(ends[0]);
    in.reset(ends[1]);
  }
  void put() const { EXPECT_EQ(::write(in.get(), "x", 1), 1); }
  void take() const {
    char byte = 0;
    EXPECT_EQ(::read(out.get(), &byte, 1), 1);
  }
  Descriptor out;
  Descriptor in;
};

class EventLoopTest : public testing::Test {
 protected:
  // Whether a wait of 10 seconds ends early.
  bool wakes() {
    const auto start = EventLoop::Clock::now();
    loop.wait(kLong);
    return EventLoop::Clock::now() - start < kLong / 2;
  }

  EventLoop loop;
  std::vector<std::string> log;
  EventLoop::Callback note(const std::string& text) {
    return [this, text] { log.push_back(text); };
  }
};

TEST_F(EventLoopTest, WakesForDataAndRunsTheHandlerOnlyInProcess) {
  const Pipe pipe;
  loop.watch(pipe.out.get(), POLLIN, [&](short revents) {
    EXPECT_NE(revents & POLLIN, 0);
    pipe.take();
    log.push_back("data");
  });
  std::thread writer([&] { pipe.put(); });
  EXPECT_TRUE(wakes());
  writer.join();
  EXPECT_THAT(log, ElementsAre());
  EXPECT_TRUE(wakes()) << "what is remembered must end the next wait as well";
  loop.process();
  EXPECT_THAT(log, ElementsAre("data"));
  loop.process();
  EXPECT_THAT(log, ElementsAre("data"));
}

TEST_F(EventLoopTest, WakesForAPostOfAnotherThread) {
  for (int round = 0; round < 200; ++round) {
    std::thread poster([&] { loop.post(note("post")); });
    ASSERT_TRUE(test::run_until(loop, [&] { return !log.empty(); }));
    poster.join();
    log.clear();
  }
}

TEST_F(EventLoopTest, LosesNoPostOfManyThreads) {
  constexpr int kThreads = 4;
  constexpr int kPosts = 500;
  int count = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (int post = 0; post < kPosts; ++post) loop.post([&] { ++count; });
    });
  }
  EXPECT_TRUE(test::run_until(loop, [&] { return count == kThreads * kPosts; }));
  for (auto& thread : threads) thread.join();
}

TEST_F(EventLoopTest, APostOfTheOwnThreadEndsTheNextWait) {
  loop.post(note("post"));
  EXPECT_TRUE(wakes());
  loop.process();
  EXPECT_THAT(log, ElementsAre("post"));
}

TEST_F(EventLoopTest, PostsBehindAPostWaitForTheNextRound) {
  std::function<void()> again = [&] {
    log.push_back("post");
    loop.post(again);
  };
  loop.post(again);
  loop.process();
  EXPECT_EQ(log.size(), 1u);
  loop.process();
  EXPECT_EQ(log.size(), 2u);
}

TEST_F(EventLoopTest, ConstantPostsDoNotStarveDescriptorsNorTimers) {
  const Pipe pipe;
  bool data = false;
  bool timer = false;
  loop.watch(pipe.out.get(), POLLIN, [&](short) {
    pipe.take();
    data = true;
  });
  loop.add_timer(milliseconds(1), [&] { timer = true; });
  pipe.put();
  std::function<void()> again = [&] { loop.post(again); };
  loop.post(again);
  EXPECT_TRUE(test::run_until(loop, [&] { return data && timer; }));
}

TEST_F(EventLoopTest, TimersRunInTheOrderOfTheirTimes) {
  loop.add_timer(milliseconds(-5), note("past"));
  loop.add_timer(milliseconds(150), note("150"));
  loop.add_timer(milliseconds(2), note("2"));
  const auto cancelled = loop.add_timer(milliseconds(3), note("cancelled"));
  loop.add_timer(milliseconds(2), [&] {
    log.emplace_back("2 again");
    loop.add_timer(milliseconds(0), note("0, added by 2"));
  });
  loop.cancel_timer(cancelled);
  loop.cancel_timer(cancelled);
  EXPECT_TRUE(test::run_until(loop, [&] { return log.size() == 5; }));
  EXPECT_THAT(log, ElementsAre("past", "2", "2 again", "0, added by 2", "150"));
}

TEST_F(EventLoopTest, ATimerOfNoDelayThatAddsItselfRunsOncePerRound) {
  std::function<void()> again = [&] {
    log.push_back("timer");
    loop.add_timer(milliseconds(0), again);
  };
  again();
  loop.process();
  EXPECT_LE(log.size(), 2u);
  EXPECT_TRUE(test::run_until(loop, [&] { return log.size() > 5; }));
}

TEST_F(EventLoopTest, ATimerEndsAWaitAndAWaitIsNeverShort) {
  loop.add_timer(milliseconds(1), note("timer"));
  EXPECT_TRUE(wakes());
  loop.process();
  EXPECT_THAT(log, ElementsAre("timer"));

  const auto start = EventLoop::Clock::now();
  loop.wait(milliseconds(2));
  EXPECT_GE(EventLoop::Clock::now() - start, milliseconds(2));
}

// Two descriptors are ready in the same round; the handler of whichever runs first does something
// to the other.
class ReadyTogether : public EventLoopTest {
 protected:
  void watch_both(const std::function<void(int other)>& first) {
    for (const int i : {0, 1}) {
      pipes[static_cast<std::size_t>(i)].put();
      loop.watch(descriptor(i), POLLIN, [this, i, first](short) {
        ++runs;
        if (runs == 1) first(descriptor(1 - i));
      });
    }
  }
  int descriptor(int i) const { return pipes[static_cast<std::size_t>(i)].out.get(); }

  std::array<Pipe, 2> pipes;
  int runs = 0;
};

TEST_F(ReadyTogether, EachRunsOnce) {
  watch_both([](int) {});
  loop.process();
  EXPECT_EQ(runs, 2);
}

TEST_F(ReadyTogether, TheOtherIsUnwatched) {
  watch_both([&](int other) { loop.unwatch(other); });
  loop.wait(kLong);
  loop.process();
  EXPECT_EQ(runs, 1);
  loop.process();
  EXPECT_EQ(runs, 2) << "only the first is still watched";
}

TEST_F(ReadyTogether, BothAreUnwatched) {
  watch_both([&](int) {
    loop.unwatch(descriptor(0));
    loop.unwatch(descriptor(1));
  });
  loop.process();
  loop.process();
  EXPECT_EQ(runs, 1);
}

TEST_F(ReadyTogether, TheOthersPlaceGoesToANewDescriptor) {
  const Pipe fresh;
  watch_both([&](int other) {
    loop.unwatch(other);
    loop.watch(fresh.out.get(), POLLIN, [&](short) { log.emplace_back("fresh"); });
  });
  loop.process();
  EXPECT_EQ(runs, 1);
  EXPECT_THAT(log, ElementsAre()) << "the new one isn't ready";
  fresh.put();
  loop.process();
  EXPECT_THAT(log, ElementsAre("fresh"));
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
  EXPECT_NE(loop.take_ready(descriptor(0)) & POLLIN, 0);
  EXPECT_EQ(loop.take_ready(descriptor(0)), 0);
  loop.process();
  EXPECT_EQ(runs, 1);
}

TEST_F(EventLoopTest, AHandlerMayReplaceItselfWhileItRuns) {
  const Pipe pipe;
  pipe.put();
  const std::string long_text(100, 'x');  // something to be destroyed with the handler
  loop.watch(pipe.out.get(), POLLIN, [&, long_text](short) {
    loop.watch(pipe.out.get(), POLLIN, [&](short) { log.emplace_back("second"); });
    loop.unwatch(pipe.out.get());
    loop.watch(pipe.out.get(), POLLIN, [&](short) { log.emplace_back("third"); });
    log.push_back(long_text.substr(0, 1));
  });
  loop.process();
  loop.process();
  EXPECT_THAT(log, ElementsAre("x", "third"));
}

TEST_F(EventLoopTest, APostRunsTheOthersInsideItself) {
  loop.post([&] {
    log.emplace_back("outer");
    loop.wait(kLong);
    loop.process();
    log.emplace_back("outer ends");
  });
  loop.post(note("inner"));
  loop.process();
  EXPECT_THAT(log, ElementsAre("outer", "inner", "outer ends"));
}

TEST_F(EventLoopTest, SignalsDoNotShortenAWait) {
  struct sigaction action {};
  struct sigaction before {};
  action.sa_handler = [](int) {};
  ASSERT_EQ(::sigaction(SIGUSR1, &action, &before), 0);
  const pthread_t self = ::pthread_self();
  std::thread sender([self] {
    for (int i = 0; i < 5; ++i) {
      std::this_thread::sleep_for(milliseconds(2));
      ::pthread_kill(self, SIGUSR1);
    }
  });
  const auto start = EventLoop::Clock::now();
  loop.wait(milliseconds(30));
  EXPECT_GE(EventLoop::Clock::now() - start, milliseconds(30));
  sender.join();
  ::sigaction(SIGUSR1, &before, nullptr);
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
  EXPECT_THAT(log, ElementsAre("inner run ended"));
}

TEST(EventLoopPosterTest, OutlivesTheLoop) {
  std::optional<EventLoop> loop(std::in_place);
  const EventLoop::Poster poster = loop->poster();
  const auto held = std::make_shared<int>(0);
  loop->post([held] { FAIL(); });
  loop.reset();
  EXPECT_EQ(held.use_count(), 1) << "the loop must drop what it didn't run";
  poster.post([held] { FAIL(); });
  EXPECT_EQ(held.use_count(), 1);
}

TEST(EventLoopPosterTest, ADroppedCallMayPost) {
  std::optional<EventLoop> loop(std::in_place);
  struct PostsAtItsEnd {
    explicit PostsAtItsEnd(EventLoop::Poster p) : poster(std::move(p)) {}
    ~PostsAtItsEnd() {
      poster.post([] {});
    }
    EventLoop::Poster poster;
  };
  loop->post([last = std::make_shared<PostsAtItsEnd>(loop->poster())] {});
  loop.reset();
}

}  // namespace
}  // namespace plexum::posix
