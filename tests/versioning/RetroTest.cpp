#include "versioning/Retro.h"

#include <gtest/gtest.h>

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
    } else if (entries.contains(version)) {
      ++hits;
    } else {
      ++misses;
      entries.insert(version);
    }
    while (!values.contains(version)) version = version->parent;
    return values[version];
  }

  /// `actualBypass` is what the real one drew: it must be one of the sixteen possible.
  void set(Version* version, std::string value, std::int32_t actualBypass) {
    values[version] = std::move(value);
    const int surplus = misses - 2 * hits;
    if (surplus <= 0) {
      ASSERT_EQ(actualBypass, 0);
    } else {
      ASSERT_EQ(actualBypass % surplus, 0);
      ASSERT_LT(actualBypass / surplus, 16);
    }
    bypass = actualBypass;
    hits = misses = 0;
    entries.clear();
  }

  std::map<Version*, std::string> values;
  std::set<Version*> entries;
  std::int32_t hits = 0;
  std::int32_t misses = 0;
  std::int32_t bypass = 0;
};

struct Mix {
  const char* name;
  unsigned newVersionPercent, setPercent;  // the rest reads
  bool chains;                             // versions hang mostly below the last one made
};

const Mix mixes[] = {
    {"mostly read", 5, 3, false},
    {"reading in long chains", 30, 2, true},
    {"much written", 15, 40, false},
    {"written in long chains", 30, 30, true},
};

class RetroOfMix : public testing::TestWithParam<Mix> {};
INSTANTIATE_TEST_SUITE_P(Mixes, RetroOfMix, testing::ValuesIn(mixes));

TEST_P(RetroOfMix, agreesWithAMapThatIsSearchedUpward) {
  const Mix mix = GetParam();
  for (const unsigned seed : {11u, 12u, 13u}) {
    std::cout << mix.name << ", seed " << seed << '\n';
    std::mt19937 random(seed);
    std::srand(seed);
    VersionTree tree;
    Retro<std::string> retro(tree, "initial");
    NaiveRetro naive(tree.root, "initial");
    std::vector<Version*> versions = {tree.root};
    for (int step = 0; step < 6000; ++step) {
      const unsigned what = random() % 100;
      Version* const any = versions[random() % versions.size()];
      if (what < mix.newVersionPercent) {
        versions.push_back(tree.newVersion(mix.chains && random() % 20 != 0 ? versions.back() : any));
      } else if (what < mix.newVersionPercent + mix.setPercent) {
        const std::string value = "value " + std::to_string(step);
        retro.set(any, value);
        naive.set(any, value, retro.cacheState().bypassCount());
        if (HasFatalFailure()) return;
        ASSERT_EQ(retro.valueCount(), naive.values.size());
      } else {
        // Again and again the same, so that there are hits.
        Version* const asked = random() % 2 == 0 ? any : versions[random() % (versions.size() / 10 + 1)];
        ASSERT_EQ(retro.get(asked), naive.get(asked)) << "step " << step;
        ASSERT_EQ(retro.cacheState().hitCount(), naive.hits) << "step " << step;
        ASSERT_EQ(retro.cacheState().missCount(), naive.misses) << "step " << step;
        ASSERT_EQ(retro.cacheState().bypassCount(), naive.bypass) << "step " << step;
      }
      if (step % 500 == 0) {
        ASSERT_EQ(retro.subset().validate(), "");
        for (Version* version : versions) ASSERT_EQ(retro.search(version), retro.look(version));
        for (Version* version : versions) naive.get(version);
      }
    }
  }
}

TEST(Retro, aChangeFarAboveReachesTheEndOfALongChain) {
  VersionTree tree;
  Retro<double> retro(tree, 0.0);
  std::vector<Version*> chain = {tree.newVersion(nullptr)};
  while (chain.size() < 2000) chain.push_back(tree.newVersion(chain.back()));
  double value = 1.0;
  for (const std::size_t at : {0u, 1000u, 500u, 1999u, 1u, 1500u, 0u}) {
    retro.set(chain[at], value);
    EXPECT_EQ(retro.get(chain[at]), value);
    for (const std::size_t asked : {1999u, 1998u, 1200u, 700u, 64u, 65u, 0u}) {
      EXPECT_EQ(retro.get(chain[asked]), retro.search(chain[asked])) << "set " << at << ", asked " << asked;
    }
    value += 1.0;
  }
}

}  // namespace
}  // namespace quorel
