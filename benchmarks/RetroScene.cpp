// One attribute of 1e3 to 1e6 objects below a style: passes over all objects, as a picture makes them, and single
// changes. `read` is the time of one read of a pass.

#include <benchmark/benchmark.h>

#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "versioning/Retro.h"
#include "versioning/VersionTree.h"

namespace {

using namespace quorel;

using Color = TinyVector<float, 3>;

constexpr int styleCount = 64;

/// Styles each below the one before, and the objects, with or without values of their own, below the last.
template <class T>
struct Objects {
  Objects(std::size_t size, bool ownValues, const T& initial) : attribute(tree, initial) {
    for (int i = 0; i < styleCount; ++i) styles.push_back(tree.newVersion(i == 0 ? nullptr : styles.back()));
    for (std::size_t i = 0; i < size; ++i) {
      versions.push_back(tree.newVersion(styles.back()));
      if (ownValues) attribute.set(versions.back(), initial);
    }
  }

  void pass() {
    for (Version* version : versions) benchmark::DoNotOptimize(attribute.get(version));
  }

  VersionTree tree;
  Retro<T> attribute;
  std::vector<Version*> styles, versions;
  int stylesLeft = styleCount;  // that have no value yet
};

/// The objects of a kind and size, kept for the next scene; anew when `used` says so.
template <class T, class Used>
Objects<T>& objectsOf(std::size_t size, bool ownValues, const T& initial, const Used& used) {
  static std::map<std::pair<std::size_t, bool>, std::unique_ptr<Objects<T>>> all;
  std::unique_ptr<Objects<T>>& objects = all[{size, ownValues}];
  if (!objects || used(*objects)) objects = std::make_unique<Objects<T>>(size, ownValues, initial);
  return *objects;
}

template <class T = Color>
Objects<T>& objectsOf(std::size_t size, bool ownValues, const T& initial = T(1, 1, 1)) {
  return objectsOf(size, ownValues, initial, [](const Objects<T>&) { return false; });
}

Objects<Color>& objectsWithAFreshStyle(std::size_t size, bool ownValues) {
  return objectsOf(size, ownValues, Color(1, 1, 1), [](const Objects<Color>& o) { return o.stylesLeft == 0; });
}

/// Times passes, each after an untimed preparation that says over what.
template <class Prepare>
void timePasses(benchmark::State& state, const Prepare& prepare) {
  for (auto _ : state) {
    auto& objects = prepare();
    const auto start = std::chrono::steady_clock::now();
    objects.pass();
    state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
  }
  const auto reads = static_cast<double>(state.range(0));
  using benchmark::Counter;
  state.counters["read"] = Counter(reads, Counter::kIsIterationInvariantRate | Counter::kInvert);
}

/// Two writes: the second ends the bypass that the first may have begun.
void write(Objects<Color>& objects, Version* version) {
  objects.attribute.set(version, Color(0, 0, 0));
  objects.attribute.set(version, Color(0, 1, 0));
}

template <class T>
void timeCachedPasses(benchmark::State& state, Objects<T>& objects) {
  objects.pass();
  timePasses(state, [&]() -> Objects<T>& { return objects; });
}

void getCached(benchmark::State& state) {
  timeCachedPasses(state, objectsOf(state.range(0), true));
}

void getCachedString(benchmark::State& state) {
  timeCachedPasses(state, objectsOf(state.range(0), true, std::string("a vertex")));
}

void getCachedOfStyle(benchmark::State& state) {
  timeCachedPasses(state, objectsOf(state.range(0), false));
}

/// The first pass after a write to a version that has a value: all miss, and who holds each value is still known.
void getAfterSet(benchmark::State& state) {
  auto& objects = objectsOf(state.range(0), true);
  timePasses(state, [&]() -> Objects<Color>& {
    objects.pass();
    write(objects, objects.versions[0]);
    return objects;
  });
}

/// The first pass after a style above all objects has been given its first value: all miss, and nothing is known.
void getAfterFirstSetOfStyle(benchmark::State& state) {
  const bool ownValues = state.range(1) != 0;
  timePasses(state, [&]() -> Objects<Color>& {
    auto& objects = objectsWithAFreshStyle(state.range(0), ownValues);
    objects.pass();
    write(objects, objects.styles[--objects.stylesLeft]);
    return objects;
  });
}

void getBypassed(benchmark::State& state) {
  auto& objects = objectsOf(state.range(0), true);
  timePasses(state, [&]() -> Objects<Color>& {
    while (objects.attribute.cacheState().bypassCount() < state.range(0)) {
      write(objects, objects.versions[0]);
      objects.pass();
      objects.attribute.set(objects.versions[0], Color(0, 0, 0));
    }
    return objects;
  });
}

/// The search in the tree of parentheses alone, as if there were no cache.
void getBySearch(benchmark::State& state) {
  auto& objects = objectsOf(state.range(0), true);
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(objects.attribute.search(objects.versions[i]));
    if (++i == objects.versions.size()) i = 0;
  }
}

void setAgain(benchmark::State& state) {
  auto& objects = objectsOf(state.range(0), true);
  std::size_t i = 0;
  for (auto _ : state) {
    objects.attribute.set(objects.versions[i], Color(0, 0, 0));
    if (++i == objects.versions.size()) i = 0;
  }
}

void setFirst(benchmark::State& state) {
  std::unique_ptr<Objects<Color>> objects;
  std::size_t i = state.range(0);
  for (auto _ : state) {
    if (i == static_cast<std::size_t>(state.range(0))) {
      state.PauseTiming();
      objects = std::make_unique<Objects<Color>>(state.range(0), false, Color(1, 1, 1));
      i = 0;
      state.ResumeTiming();
    }
    objects->attribute.set(objects->versions[i++], Color(0, 0, 0));
  }
}

/// A change on the style of all objects, seen at one of them.
void changeStyle(benchmark::State& state) {
  auto& objects = objectsOf(state.range(0), false);
  objects.attribute.set(objects.styles.back(), Color(0, 0, 0));
  float shade = 0;
  std::size_t i = 0;
  for (auto _ : state) {
    objects.attribute.set(objects.styles.back(), Color(shade += 1, 0, 0));
    benchmark::DoNotOptimize(objects.attribute.get(objects.versions[i]));
    if (++i == objects.versions.size()) i = 0;
  }
}

/// The first value of a style, from the innermost outward, seen at one of the objects.
void firstChangeOfStyle(benchmark::State& state) {
  const bool ownValues = state.range(1) != 0;
  for (auto _ : state) {
    auto& objects = objectsWithAFreshStyle(state.range(0), ownValues);
    Version* const style = objects.styles[--objects.stylesLeft];
    const auto start = std::chrono::steady_clock::now();
    objects.attribute.set(style, Color(0, 0, 0));
    benchmark::DoNotOptimize(objects.attribute.get(objects.versions[0]));
    state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
  }
}

void sizes(benchmark::internal::Benchmark* scene) {
  scene->RangeMultiplier(10)->Range(1'000, 1'000'000);
}

void sizesAndOwnValues(benchmark::internal::Benchmark* scene) {
  scene->ArgNames({"", "own"})->ArgsProduct({{1'000, 10'000, 100'000}, {0, 1}})->UseManualTime()->Iterations(60);
}

BENCHMARK(getCached)->Apply(sizes)->UseManualTime();
BENCHMARK(getCachedString)->Apply(sizes)->UseManualTime();
BENCHMARK(getCachedOfStyle)->Apply(sizes)->UseManualTime();
BENCHMARK(getAfterSet)->Apply(sizes)->UseManualTime();
BENCHMARK(getAfterFirstSetOfStyle)->Apply(sizesAndOwnValues);
BENCHMARK(getBypassed)->Apply(sizes)->UseManualTime();
BENCHMARK(getBySearch)->Apply(sizes);
BENCHMARK(setAgain)->Apply(sizes);
BENCHMARK(setFirst)->Apply(sizes);
BENCHMARK(changeStyle)->Apply(sizes);
BENCHMARK(firstChangeOfStyle)->Apply(sizesAndOwnValues);

}  // namespace
