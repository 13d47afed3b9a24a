#include "versioning/Retro.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
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
    ++changes;
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
  std::uint64_t changes = 0;
  std::int32_t hits = 0;
  std::int32_t misses = 0;
  std::int32_t bypass = 0;
};

struct Mix {
  unsigned newVersionPercent, setPercent;  // the rest reads
  unsigned chainPercent;                   // of the new versions hang below the last one made
};

class RetroOfMix : public testing::TestWithParam<Mix> {};
INSTANTIATE_TEST_SUITE_P(Mixes, RetroOfMix,
                         testing::Values(Mix{5, 3, 0}, Mix{30, 2, 99}, Mix{15, 40, 0}, Mix{30, 30, 95}));

TEST_P(RetroOfMix, agreesWithAMapThatIsSearchedUpward) {
  const Mix mix = GetParam();
  std::set<int> factors;
  for (const unsigned seed : {11u, 12u, 13u}) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
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
        retro.set(any, value);
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
          ASSERT_EQ(retro.search(version), naive.get(version));
          ASSERT_EQ(retro.search(version), retro.look(version));
        }
      }
      ASSERT_EQ(retro.changeCount(), naive.changes);
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
struct IndexOwner {
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
  std::srand(5);
  const int draws[] = {std::rand(), std::rand(), std::rand()};
  IndexOwner<std::uint32_t> owner(1048561);
  std::srand(5);
  owner.cache.flush();
  for (Version* version : owner.versions) owner.cache.get(version);
  EXPECT_EQ(owner.cache.missCount(), 0);
  EXPECT_EQ(owner.cache.bypassCount(), draws[1] % 16 * 1048561);
  EXPECT_EQ(std::rand(), draws[2]);
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
