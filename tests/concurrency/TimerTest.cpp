#include "concurrency/Timer.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace quorel {
namespace {

TEST(Timer, runsUntilItIsStoppedAndAnewAfterARestart) {
  const auto sleep = [] { std::this_thread::sleep_for(std::chrono::milliseconds(30)); };
  Timer timer;
  timer.start();
  sleep();
  const double running = timer.wallSeconds();
  EXPECT_GE(running, 0.029);
  sleep();
  timer.stop();
  const double stopped = timer.wallSeconds();
  EXPECT_GE(stopped, running + 0.029);
  const double cpu = timer.cpuSeconds();
  sleep();
  EXPECT_EQ(timer.wallSeconds(), stopped);
  EXPECT_EQ(timer.cpuSeconds(), cpu);
  timer.start();
  EXPECT_LT(timer.wallSeconds(), stopped);
}

TEST(Timer, processorTimeIsThatOfTheWorkAndNotOfTheWaiting) {
  Timer timer;
  timer.start();
  std::this_thread::sleep_for(std::chrono::milliseconds(150));
  const double afterSleep = timer.cpuSeconds();
  EXPECT_LT(afterSleep, 0.1);
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (timer.cpuSeconds() < afterSleep + 0.05 && std::chrono::steady_clock::now() < end) continue;
  EXPECT_GE(timer.cpuSeconds(), afterSleep + 0.05);
  EXPECT_GE(timer.wallSeconds(), 0.19);
}

}  // namespace
}  // namespace quorel
