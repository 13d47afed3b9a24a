#include "versioning/Retro.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace quorel {
namespace {

/// The attribute as a map that is searched upward, beside the counters as they are told.
class NaiveRetro {
public:
  NaiveRetro(Version* root, std::string initial) : values{{root, std::move(initial)}} {}

  std::string get(Version* version) {
    if (bypass > 0) {
      --bypass;
    } else {
      ++(entries.insert(version).second ? misses : hits);
    }
    while (!values.contains(version)) version = version->parent;
    return values[version];
  }

  /// `actualBypass` is what the real one drew: it must be one of the sixteen possible.
  void set(Version* version, std::string value, std::int32_t actualBypass) {
    values[version] = std::move(value);
    const int surplus = std::max(misses - 2 * hits, 0);
    const int factor = actualBypass / std::max(surplus, 1);
    ASSERT_EQ(actualBypass, factor * surplus);
    ASSERT_LT(factor, 16);
    if (surplus > 0) factors.insert(factor);
    bypass = actualBypass;
    hits = misses = 0;
    entries.clear();
  }

  std::map<Version*, std::string> values;
  std::set<Version*> entries;
  std::set<int> factors;
  std::int32_t hits = 0;
  std::int32_t misses = 0;
  std::int32_t bypass = 0;
};

struct Mix {
  const char* name;
  unsigned newVersionPercent, setPercent;  // the rest reads
  unsigned chainPercent;                   // of the new versions hang below the last one made
};

class RetroOfMix : public testing::TestWithParam<Mix> {};
INSTANTIATE_TEST_SUITE_P(Mixes, RetroOfMix,
                         testing::Values(Mix{"mostly read", 5, 3, 0}, Mix{"reading in long chains", 30, 2, 99},
                                         Mix{"much written", 15, 40, 0}, Mix{"written in long chains", 30, 30, 95}));

TEST_P(RetroOfMix, agreesWithAMapThatIsSearchedUpward) {
  const Mix mix = GetParam();
  std::set<int> factors;
  for (const unsigned seed : {11u, 12u, 13u}) {
    std::cout << mix.name << ", seed " << seed << '\n';
    std::mt19937 random(seed);
    std::srand(seed);
    VersionTree tree;
    Retro<std::string> retro(tree, "initial");
    NaiveRetro naive(tree.root, "initial");
    std::vector<Version*> versions = {tree.root};
    const auto& cache = retro.cacheState();
    for (int step = 0; step < 6000; ++step) {
      const unsigned what = random() % 100;
      Version* const any = versions[random() % versions.size()];
      if (what < mix.newVersionPercent) {
        versions.push_back(tree.newVersion(random() % 100 < mix.chainPercent ? versions.back() : any));
      } else if (what < mix.newVersionPercent + mix.setPercent) {
        const std::string value = "value " + std::to_string(step);
        const std::uint64_t changesBefore = retro.changeCount();
        retro.set(any, value);
        ASSERT_GT(retro.changeCount(), changesBefore);
        naive.set(any, value, cache.bypassCount());
        if (HasFatalFailure()) return;
      } else {
        // Again and again the same, so that there are hits.
        Version* const asked = random() % 2 == 0 ? any : versions[random() % (versions.size() / 10 + 1)];
        ASSERT_EQ(retro.get(asked), naive.get(asked)) << "step " << step;
      }
      if (step % 500 == 0) {
        ASSERT_EQ(retro.subset().validate(), "");
        for (Version* version : versions) {
          ASSERT_EQ(retro.look(version), naive.get(version));
          ASSERT_EQ(retro.search(version), retro.look(version));
          naive.get(version);
        }
      }
      ASSERT_EQ(retro.valueCount(), naive.values.size());
      ASSERT_EQ(cache.hitCount(), naive.hits) << "step " << step;
      ASSERT_EQ(cache.missCount(), naive.misses) << "step " << step;
      ASSERT_EQ(cache.bypassCount(), naive.bypass) << "step " << step;
    }
    factors.insert(naive.factors.begin(), naive.factors.end());
  }
  EXPECT_EQ(factors.size(), 16U) << "each is drawn now and then";
}

/// Versions, and a cache of their indices.
template <class Epoch>
class IndexOwner {
public:
  explicit IndexOwner(int versionCount) {
    for (int i = 0; i < versionCount; ++i) versions.push_back(tree.newVersion(nullptr));
  }

  std::uint32_t resolve(Version* version) { return version->index + shift; }

  AbstractCache<IndexOwner, Epoch> cache{*this};
  VersionTree tree;
  std::vector<Version*> versions;
  std::uint32_t shift = 0;
};

TEST(AbstractCache, drawsAtEveryFlushAndFlushesAtTheLimitOfMisses) {
  IndexOwner<std::uint32_t> owner(1048561);
  std::srand(5);
  owner.cache.flush();
  for (int i = 0; i < 1048560; ++i) owner.cache.get(owner.versions[i]);
  EXPECT_EQ(owner.cache.missCount(), 1048560);
  owner.cache.get(owner.versions[1048560]);
  EXPECT_EQ(owner.cache.missCount(), 0);
  EXPECT_EQ(owner.cache.bypassCount() % 1048561, 0);
  const int third = std::rand();
  std::srand(5);
  std::rand();
  std::rand();
  EXPECT_EQ(std::rand(), third);
}

TEST(AbstractCache, epochsThatRunOutBringBackNothingOld) {
  IndexOwner<std::uint8_t> owner(300);
  // One version is read once and then again after every number of flushes up to several rounds of the epochs.
  for (int flushes = 1; flushes < 300; ++flushes) {
    Version* const version = owner.versions[flushes];
    owner.shift = 0;
    owner.cache.flush();
    owner.cache.flush();
    owner.cache.get(version);
    owner.shift = 1;
    for (int i = 0; i < flushes; ++i) {
      owner.cache.forget();
      owner.cache.flush();
    }
    std::uint32_t answer;
    ASSERT_FALSE(owner.cache.recall(version, answer));
    while (owner.cache.bypassCount() > 0) owner.cache.flush();
    ASSERT_EQ(owner.cache.get(version), version->index + 1);
    ASSERT_EQ(owner.cache.missCount(), 1);
  }
}

}  // namespace
}  // namespace quorel
