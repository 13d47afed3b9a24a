#include "server/Turnstile.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "concurrency/Platform.h"

namespace quorel {
namespace {

TEST(TurnstileTest, letsInThoseWhoCameDuringAStepInTheirOrderBeforeTheNextFrame) {
  constexpr std::size_t clientCount = 8;
  MultiLockable lock(0);
  Turnstile entrance(lock);
  for (int frame = 0; frame < 10; ++frame) {
    std::vector<std::size_t> order;
    std::vector<std::thread> clients;
    lock.lock();  // the step, past the turnstile
    for (std::size_t i = 0; i < clientCount; ++i) {
      clients.emplace_back([&, i] {
        entrance.lock();
        order.push_back(i);
        entrance.unlock();
      });
      while (entrance.queueLength() != i + 1) sleepMilliseconds(1);
    }
    lock.unlock();
    entrance.lock();  // the next frame's poll
    const std::vector<std::size_t> served = order;
    entrance.unlock();
    for (std::thread& client : clients) client.join();
    EXPECT_EQ(served, std::vector<std::size_t>({0, 1, 2, 3, 4, 5, 6, 7})) << "frame " << frame;
  }
}

}  // namespace
}  // namespace quorel
