// The tree of parentheses at 1e3 to 1e6 versions: comparing keys, making versions, and searching and growing a subset
// that holds every other version. The versions lie below a hundred styles that lie below one another.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <map>
#include <memory>
#include <random>
#include <vector>

#include "versioning/ParensTree.h"
#include "versioning/VersionTree.h"

namespace {

using namespace quorel;

struct Forest {
  explicit Forest(std::size_t size) {
    std::mt19937 random(1);
    std::vector<Version*> styles = {tree.root};
    for (std::size_t i = 0; i < size; ++i) {
      Version* const version = tree.newVersion(styles[random() % styles.size()]);
      if (i % 10 == 0 && styles.size() < 100) styles.push_back(version);
      (i % 2 == 0 ? members : others).push_back(version);
    }
    subset.init(tree.root);
    for (Version* member : members) subset.insert(member);
    std::shuffle(members.begin(), members.end(), random);
    std::shuffle(others.begin(), others.end(), random);
  }

  VersionTree tree;
  ParensTree subset{false};
  std::vector<Version*> members, others;
  std::size_t inserted = 0;  // of the others
};

/// The forest of a size, kept for the next scene of that size.
std::unique_ptr<Forest>& forestOf(const benchmark::State& state) {
  static std::map<std::int64_t, std::unique_ptr<Forest>> forests;
  std::unique_ptr<Forest>& forest = forests[state.range(0)];
  if (!forest) forest = std::make_unique<Forest>(state.range(0));
  return forest;
}

void compareKeys(benchmark::State& state) {
  const Forest& forest = *forestOf(state);
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(compare(forest.members[i]->first, forest.others[i]->first));
    if (++i == forest.others.size()) i = 0;
  }
}

void findEnclosing(benchmark::State& state) {
  const Forest& forest = *forestOf(state);
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(forest.subset.findEnclosing(forest.others[i]));
    if (++i == forest.others.size()) i = 0;
  }
}

void newVersion(benchmark::State& state) {
  Forest& forest = *forestOf(state);
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(forest.tree.newVersion(forest.members[i]));
    if (++i == forest.members.size()) i = 0;
  }
}

void insertIntoSubset(benchmark::State& state) {
  std::unique_ptr<Forest>& forest = forestOf(state);
  for (auto _ : state) {
    if (forest->inserted == forest->others.size()) {
      state.PauseTiming();
      forest = std::make_unique<Forest>(state.range(0));
      state.ResumeTiming();
    }
    forest->subset.insert(forest->others[forest->inserted++]);
  }
}

BENCHMARK(compareKeys)->RangeMultiplier(10)->Range(1'000, 1'000'000);
BENCHMARK(findEnclosing)->RangeMultiplier(10)->Range(1'000, 1'000'000);
// Few enough that the tree keeps its size.
BENCHMARK(newVersion)->RangeMultiplier(10)->Range(1'000, 1'000'000)->Iterations(200);
BENCHMARK(insertIntoSubset)->RangeMultiplier(10)->Range(1'000, 1'000'000);

}  // namespace
