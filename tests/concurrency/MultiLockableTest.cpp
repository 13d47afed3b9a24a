#include "concurrency/MultiLockable.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>

namespace quorel {
namespace {

class OpenLockable : public MultiLockable {
public:
  constexpr OpenLockable() : MultiLockable(0) {}
  using MultiLockable::count;
  using MultiLockable::owner;
};

constinit OpenLockable usableBeforeAnyConstructor;

TEST(MultiLockable, isHeldFromTheFirstLockToTheLastUnlockAndThenMarked) {
  OpenLockable& object = usableBeforeAnyConstructor;
  EXPECT_EQ(object.owner, pthread_t{0});
  // The second time after a release by the same thread.
  for (int round = 0; round < 2; ++round) {
    for (int i = 0; i < 5; ++i) object.lock();
    EXPECT_TRUE(pthread_equal(object.owner, pthread_self()));
    std::atomic<bool> entered = false;
    std::thread other([&] {
      const std::lock_guard hold(object);
      entered = true;
    });
    for (int left = 5; left > 0; --left) {
      // Up and down again in between, as nested operations do while others wait.
      object.lock();
      object.unlock();
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
      EXPECT_FALSE(entered) << left << " levels are still held";
      object.unlock();
    }
    other.join();
    EXPECT_EQ(object.count, 0);
    EXPECT_EQ(object.owner, pthread_t{0xfefefefe});
  }
}

}  // namespace
}  // namespace quorel
