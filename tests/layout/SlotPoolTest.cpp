#include "layout/SlotPool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <set>
#include <vector>

namespace quorel {
namespace {

TEST(SlotPool, keepsLiveSlotsApartAndReusesThoseThatCameBack) {
  constexpr std::size_t bytes = 72;
  SlotPool pool(bytes);
  std::mt19937 random(7);
  std::set<unsigned char*> live;
  std::size_t mostLive = 0;
  std::set<unsigned char*> everSeen;
  for (int i = 0; i < 20000; ++i) {
    if (live.empty() || random() % 5 < 3) {
      auto* slot = static_cast<unsigned char*>(pool.allocate());
      const auto next = live.lower_bound(slot);
      ASSERT_TRUE(next == live.end() || *next >= slot + bytes);
      ASSERT_TRUE(next == live.begin() || *std::prev(next) + bytes <= slot);
      std::memset(slot, 0xab, bytes);
      live.insert(slot);
      everSeen.insert(slot);
      mostLive = std::max(mostLive, live.size());
    } else {
      auto slot = live.begin();
      std::advance(slot, random() % std::min<std::size_t>(live.size(), 50));
      pool.release(*slot);
      live.erase(slot);
    }
    ASSERT_EQ(pool.liveCount(), live.size());
  }
  EXPECT_LE(everSeen.size(), mostLive);
  for (unsigned char* slot : live) pool.release(slot);
}

TEST(SlotPool, startsOverInTheSameOrderWhenAllSlotsCameBack) {
  SlotPool pool(40);
  const auto take = [&] {
    std::vector<void*> slots(2000);
    for (void*& slot : slots) slot = pool.allocate();
    return slots;
  };
  const std::vector<void*> first = take();
  EXPECT_TRUE(std::is_sorted(first.begin(), first.begin() + 256)) << "neighbours in time are neighbours in memory";
  for (void* slot : first) pool.release(slot);
  const std::vector<void*> second = take();
  EXPECT_EQ(first, second);
  for (void* slot : second) pool.release(slot);
}

}  // namespace
}  // namespace quorel
