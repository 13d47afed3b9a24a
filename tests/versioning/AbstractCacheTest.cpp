#include "versioning/AbstractCache.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <set>
#include <vector>

#include "versioning/VersionTree.h"

namespace quorel {
namespace {

/// Answers with the version's index.
template <class Epoch>
class IndexOwner {
public:
  std::uint32_t resolve(Version* version) { return version->index + shift; }

  AbstractCache<IndexOwner, Epoch> cache{*this};
  std::uint32_t shift = 0;
};

class CacheCounters : public testing::Test {
protected:
  CacheCounters() {
    for (int i = 0; i < 100; ++i) versions.push_back(tree.newVersion(nullptr));
  }

  /// Reads that miss and hit so many times.
  void read(int misses, int hits) {
    for (int i = 0; i < misses; ++i) owner.cache.get(versions[i]);
    for (int i = 0; i < hits; ++i) owner.cache.get(versions[i % misses]);
  }

  VersionTree tree;
  std::vector<Version*> versions;
  IndexOwner<std::uint32_t> owner;
};

TEST_F(CacheCounters, aFlushBypassesByTheSurplusOfMissesTimesARandomFactor) {
  const struct {
    int hits, misses, surplus;
  } cases[] = {{10, 25, 5}, {13, 26, 0}, {0, 1, 1}, {1, 2, 0}, {40, 30, 0}, {0, 0, 0}, {3, 100, 94}};
  for (const auto& [hits, misses, surplus] : cases) {
    std::set<int> factors;
    for (int round = 0; round < 400; ++round) {
      read(misses, hits);
      ASSERT_EQ(owner.cache.hitCount(), hits);
      ASSERT_EQ(owner.cache.missCount(), misses);
      owner.cache.flush();
      ASSERT_EQ(owner.cache.hitCount(), 0);
      ASSERT_EQ(owner.cache.missCount(), 0);
      if (surplus == 0) {
        ASSERT_EQ(owner.cache.bypassCount(), 0);
      } else {
        ASSERT_EQ(owner.cache.bypassCount() % surplus, 0);
        factors.insert(owner.cache.bypassCount() / surplus);
      }
      owner.cache.flush();  // ends the bypass
      ASSERT_EQ(owner.cache.bypassCount(), 0);
    }
    EXPECT_EQ(factors.size(), surplus == 0 ? 0u : 16u);
    EXPECT_TRUE(factors.empty() || (*factors.begin() == 0 && *factors.rbegin() == 15));
  }
}

TEST_F(CacheCounters, aBypassedReadCountsDownAndLeavesNoTrace) {
  do {
    read(20, 0);
    owner.cache.flush();
  } while (owner.cache.bypassCount() < 2);
  for (int left = owner.cache.bypassCount(); left > 0; --left) {
    // Some of them known from before, some not.
    Version* const asked = versions[left % 40];
    EXPECT_EQ(owner.cache.get(asked), asked->index);
    ASSERT_EQ(owner.cache.bypassCount(), left - 1);
    ASSERT_EQ(owner.cache.missCount() + owner.cache.hitCount(), 0);
  }
  for (Version* version : versions) owner.cache.get(version);
  EXPECT_EQ(owner.cache.missCount(), 100);
  owner.cache.get(versions[0]);
  EXPECT_EQ(owner.cache.hitCount(), 1);
}

TEST_F(CacheCounters, everyFlushDrawsOnce) {
  std::srand(5);
  owner.cache.flush();
  owner.cache.flush();
  const int third = std::rand();
  std::srand(5);
  std::rand();
  std::rand();
  EXPECT_EQ(std::rand(), third);
}

TEST(AbstractCache, theLimitOfMissesFlushes) {
  VersionTree tree;
  IndexOwner<std::uint32_t> owner;
  std::vector<Version*> versions;
  for (int i = 0; i < 1048561; ++i) versions.push_back(tree.newVersion(nullptr));
  for (int i = 0; i < 1048560; ++i) owner.cache.get(versions[i]);
  EXPECT_EQ(owner.cache.missCount(), 1048560);
  owner.cache.get(versions[1048560]);
  EXPECT_EQ(owner.cache.missCount(), 0);
  EXPECT_EQ(owner.cache.bypassCount() % 1048561, 0);
  owner.cache.flush();
  owner.cache.get(versions[0]);
  EXPECT_EQ(owner.cache.missCount(), 1);
}

TEST(AbstractCache, epochsThatRunOutBringBackNothingOld) {
  VersionTree tree;
  std::vector<Version*> versions;
  for (int i = 0; i < 300; ++i) versions.push_back(tree.newVersion(nullptr));
  IndexOwner<std::uint8_t> owner;
  // One version is read once and then again after every number of flushes up to several rounds of the epochs.
  for (int flushes = 1; flushes < 300; ++flushes) {
    owner.shift = 0;
    owner.cache.flush();
    owner.cache.flush();
    owner.cache.get(versions[flushes]);
    owner.shift = 1;
    for (int i = 0; i < flushes; ++i) {
      owner.cache.forget();
      owner.cache.flush();
    }
    std::uint32_t answer;
    ASSERT_FALSE(owner.cache.recall(versions[flushes], answer));
    while (owner.cache.bypassCount() > 0) owner.cache.flush();
    ASSERT_EQ(owner.cache.get(versions[flushes]), versions[flushes]->index + 1);
    ASSERT_EQ(owner.cache.missCount(), 1);
  }
}

}  // namespace
}  // namespace quorel
