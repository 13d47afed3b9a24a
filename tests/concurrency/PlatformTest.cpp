#include "concurrency/Platform.h"

#include <gtest/gtest.h>
#include <sched.h>

#include <cerrno>
#include <chrono>
#include <thread>

namespace quorel {
namespace {

TEST(Platform, countsTheProcessorsThatTheProcessMayUse) {
  cpu_set_t all;
  ASSERT_EQ(sched_getaffinity(0, sizeof all, &all), 0);
  EXPECT_EQ(numProcessors(), CPU_COUNT(&all));
  cpu_set_t one;
  CPU_ZERO(&one);
  for (int cpu = 0; CPU_COUNT(&one) == 0; ++cpu) {
    if (CPU_ISSET(cpu, &all)) CPU_SET(cpu, &one);
  }
  ASSERT_EQ(sched_setaffinity(0, sizeof one, &one), 0);
  EXPECT_EQ(numProcessors(), 1);
  sched_setaffinity(0, sizeof all, &all);
}

TEST(Platform, systemValuesThatCannotBeHadLeaveEverythingAsItWas) {
  const struct {
    const char* name;
    std::size_t size;
    bool write;
    int error;
  } cases[] = {
      {"hw.nosuch", sizeof(int), false, ENOENT}, {"hw.ncpu", 2, false, ENOMEM}, {"hw.ncpu", sizeof(int), true, EPERM}};
  for (const auto& [name, size, write, error] : cases) {
    int value = -7;
    const int newValue = 3;
    std::size_t room = size;
    EXPECT_EQ(sysctlbyname(name, &value, &room, write ? &newValue : nullptr, write ? sizeof newValue : 0), -1);
    EXPECT_EQ(errno, error) << name;
    EXPECT_EQ(value, -7);
    EXPECT_EQ(room, size);
  }
}

TEST(Platform, prioritiesAreSetUnderTheThreadsOwnPolicy) {
  // The default policy has one priority only; the others are refused and change nothing.
  int policy;
  sched_param parameters;
  ASSERT_EQ(pthread_getschedparam(pthread_self(), &policy, &parameters), 0);
  EXPECT_EQ(setCurrentThreadPriority(parameters.sched_priority), 0);
  EXPECT_EQ(setThreadPriority(pthread_self(), sched_get_priority_max(policy) + 1), EINVAL);

  std::thread([] {
    const sched_param lowest = {sched_get_priority_min(SCHED_FIFO)};
    if (pthread_setschedparam(pthread_self(), SCHED_FIFO, &lowest) != 0) GTEST_SKIP() << "not allowed here";
    EXPECT_EQ(setCurrentThreadPriority(15), 0);
    int after;
    sched_param set;
    pthread_getschedparam(pthread_self(), &after, &set);
    EXPECT_EQ(after, SCHED_FIFO);
    EXPECT_EQ(set.sched_priority, 15);
  }).join();
}

TEST(Platform, sleepsForMillisecondsAndSeconds) {
  for (const int milliseconds : {0, 20, 1020}) {
    const auto start = std::chrono::steady_clock::now();
    sleepMilliseconds(milliseconds);
    const auto slept = std::chrono::steady_clock::now() - start;
    EXPECT_GE(slept, std::chrono::milliseconds(milliseconds));
    EXPECT_LT(slept, std::chrono::milliseconds(milliseconds + 5000));
  }
}

}  // namespace
}  // namespace quorel
