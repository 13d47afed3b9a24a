#include "concurrency/Platform.h"

#include <gtest/gtest.h>
#include <sched.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <latch>
#include <thread>
#include <utility>

#include "concurrency/RandomNumbers.h"
#include "concurrency/Timer.h"

namespace quorel {
namespace {

using Clock = std::chrono::steady_clock;

TEST(Platform, countsTheProcessorsThatTheProcessMayUse) {
  cpu_set_t all;
  ASSERT_EQ(sched_getaffinity(0, sizeof all, &all), 0);
  EXPECT_EQ(numProcessors(), CPU_COUNT(&all));
  cpu_set_t one;
  CPU_ZERO(&one);
  CPU_SET(sched_getcpu(), &one);
  ASSERT_EQ(sched_setaffinity(0, sizeof one, &one), 0);
  EXPECT_EQ(numProcessors(), 1);
  sched_setaffinity(0, sizeof all, &all);
}

TEST(Platform, prioritiesAreSetUnderTheThreadsOwnPolicy) {
  // The default policy has one priority only; the others are refused and change nothing.
  int policy;
  sched_param parameters;
  ASSERT_EQ(pthread_getschedparam(pthread_self(), &policy, &parameters), 0);
  EXPECT_EQ(setCurrentThreadPriority(parameters.sched_priority), 0);
  EXPECT_EQ(setThreadPriority(pthread_self(), sched_get_priority_max(policy) + 1), EINVAL);
  std::thread([&] {
    const sched_param lowest = {sched_get_priority_min(SCHED_FIFO)};
    if (pthread_setschedparam(pthread_self(), SCHED_FIFO, &lowest) != 0) GTEST_SKIP() << "not allowed here";
    EXPECT_EQ(setCurrentThreadPriority(15), 0);
    pthread_getschedparam(pthread_self(), &policy, &parameters);
    EXPECT_EQ(policy, SCHED_FIFO);
    EXPECT_EQ(parameters.sched_priority, 15);
  }).join();
}

TEST(Timer, runsUntilItIsStoppedAndAnewAfterARestartWhileTheThreadSleeps) {
  Timer timer;
  for (const int milliseconds : {20, 1020}) {
    const double slept = milliseconds / 1000.0;
    const auto start = Clock::now();
    timer.start();
    sleepMilliseconds(milliseconds);
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(milliseconds));
    EXPECT_GE(timer.wallSeconds(), slept - 0.001);
    EXPECT_LE(timer.wallSeconds(), std::chrono::duration<double>(Clock::now() - start).count() + 0.01);
    EXPECT_LT(timer.wallSeconds(), slept + 10.0);
    EXPECT_LT(timer.cpuSeconds(), 0.04) << "waiting is no work";
    while (timer.cpuSeconds() < 0.05) continue;
    timer.stop();
    const std::pair stopped(timer.wallSeconds(), timer.cpuSeconds());
    EXPECT_GE(stopped.first, slept - 0.001 + 0.01);
    sleepMilliseconds(50);
    EXPECT_EQ(std::pair(timer.wallSeconds(), timer.cpuSeconds()), stopped);
  }
}

TEST(RandomNumbers, areEachDrawnOnce) {
  constexpr int share = 100000;
  constexpr int threadCount = 4;
  RandomNumbers shared, expected;
  std::atomic<std::uint64_t> sum = 0;
  for (int i = 0; i < threadCount * share; ++i) sum -= static_cast<std::uint64_t>(expected.next());
  std::latch together(threadCount);
  const auto draw = [&] {
    together.arrive_and_wait();
    for (int i = 0; i < share; ++i) sum += static_cast<std::uint64_t>(shared.next());
  };
  {
    const std::jthread others[] = {std::jthread(draw), std::jthread(draw), std::jthread(draw)};
    draw();
  }
  EXPECT_EQ(sum, 0U);
}

}  // namespace
}  // namespace quorel
