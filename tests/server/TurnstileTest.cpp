#include "server/Turnstile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

#include "concurrency/Platform.h"

namespace quorel {
namespace {

TEST(TurnstileTest, keepsEverybodyElseOut) {
  MultiLockable lock(0);
  Turnstile entrance(lock);
  long guarded = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 2000; ++i) {
        if (t % 2 == 0) {
          entrance.lock();
          ++guarded;
          entrance.unlock();
        } else {  // as the step does, past the turnstile
          lock.lock();
          ++guarded;
          lock.unlock();
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(guarded, 16000);
}

TEST(TurnstileTest, letsInThoseWhoCameDuringTheFrameBeforeTheNextOneBegins) {
  MultiLockable lock(0);
  Turnstile entrance(lock);
  std::atomic<long> frame = 0;
  std::atomic<bool> stop = false;

  // The main thread: in through the turnstile once a frame, and then a step that takes nearly all of its time.
  std::thread frames([&] {
    while (!stop) {
      entrance.lock();
      entrance.unlock();
      lock.lock();
      ++frame;
      sleepMilliseconds(4);
      lock.unlock();
    }
  });

  std::vector<std::vector<long>> waited(6);
  std::vector<std::thread> clients;
  for (std::vector<long>& own : waited) {
    clients.emplace_back([&] {
      while (!stop) {
        const long arrival = frame;
        entrance.lock();
        own.push_back(frame - arrival);
        entrance.unlock();
        sleepMilliseconds(1);  // the way back to the client and from it
      }
    });
  }
  sleepMilliseconds(1000);
  stop = true;
  for (std::thread& client : clients) client.join();
  frames.join();

  for (std::vector<long>& own : waited) {
    ASSERT_GT(own.size(), 20U);  // nobody starves
    std::sort(own.begin(), own.end());
    EXPECT_LE(own[own.size() / 2], 2);
    // A thread that the system puts aside on its way to the turnstile may miss a frame or two.
    EXPECT_LE(own[own.size() * 9 / 10], 4);
  }
}

TEST(TurnstileTest, servesInTheOrderOfArrival) {
  MultiLockable lock(0);
  Turnstile entrance(lock);
  std::vector<int> order;
  std::vector<std::thread> clients;
  lock.lock();
  for (int i = 0; i < 8; ++i) {
    clients.emplace_back([&, i] {
      entrance.lock();
      order.push_back(i);
      entrance.unlock();
    });
    while (entrance.queueLength() != static_cast<std::size_t>(i) + 1) sleepMilliseconds(1);
  }
  lock.unlock();
  for (std::thread& client : clients) client.join();
  EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

}  // namespace
}  // namespace quorel
