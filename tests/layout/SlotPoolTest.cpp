#include "layout/SlotPool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <set>
#include <vector>

namespace quorel {
namespace {

TEST(SlotPool, keepsLiveSlotsApartReusesThemAndStartsOver) {
  constexpr std::size_t bytes = 72;
  SlotPool pool(bytes);
  std::mt19937 random(7);
  const auto takeAndRelease = [&] {
    std::vector<void*> slots(2000);
    std::ranges::generate(slots, [&] { return pool.allocate(); });
    for (void* slot : slots) pool.release(slot);
    return slots;
  };
  const std::vector<void*> first = takeAndRelease();
  EXPECT_TRUE(std::is_sorted(first.begin(), first.begin() + 256)) << "neighbours in time are neighbours in memory";

  std::set<unsigned char*> live, everSeen;
  std::size_t mostLive = 0;
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
      const auto slot = std::next(live.begin(), random() % std::min<std::size_t>(live.size(), 50));
      pool.release(*slot);
      live.erase(slot);
    }
  }
  EXPECT_LE(everSeen.size(), mostLive);
  for (unsigned char* slot : live) pool.release(slot);
  EXPECT_EQ(takeAndRelease(), first);
}

}  // namespace
}  // namespace quorel
