#include "layout/Spacetree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <deque>
#include <set>

#include "layout/BulkInsertion.h"
#include "layout/LayoutTesting.h"
#include "layout/VertexSummary.h"

namespace quorel {
namespace {

/// The least that a tree can be made of.
struct Dot {
  Vector position;
  float charge = 1.0F;
};

using DotTree = Spacetree<VertexSummary<Dot>, Dot>;

struct Written {
  std::vector<std::uint64_t> words;
  int particleCount = 0;
};

/// All that is in a tree in the order of a walk: the summaries by their bits, and the particles.
template <class AnyTree>
Written written(const AnyTree& tree) {
  Written all;
  std::set<const void*> seen;
  typename AnyTree::Iterator iterator;
  iterator.push(tree.rootPosition());
  while (!iterator.empty()) {
    const auto position = iterator.pop();
    if (position.isParticle()) {
      EXPECT_TRUE(seen.insert(position.particle()).second) << "in two places";
      all.words.push_back(reinterpret_cast<std::uintptr_t>(position.particle()));
      ++all.particleCount;
      continue;
    }
    const auto& node = *position.node;
    all.words.insert(all.words.end(), {std::uint64_t(node.count), std::uint64_t{node.isInternal}});
    for (const Vector& v : {node.chargeMoment, node.centre, Vector(node.charge, node.diagonal, 0)}) {
      // The centre of charges that cancel out is no number.
      for (std::size_t i = 0; i < 3; ++i)
        all.words.push_back(std::bit_cast<std::uint32_t>(isFinite(v) ? v[i] : INFINITY));
    }
    AnyTree::expand(position, iterator);
  }
  return all;
}

TEST(Spacetree, holdsEachParticleOnceWithTrueSummariesHoweverItIsFilled) {
  std::mt19937 random = seeded(71);
  // Memory of one tree serves the next.
  BulkInsertion<VertexSummary<Dot>, Dot> insertion;
  DotTree bulk;
  for (int kind = 0; kind < 60; ++kind) {
    SCOPED_TRACE(kind);
    std::deque<Dot> dots;
    const auto clump = [&](int n, const Vector& centre, float extent) {
      for (int i = 0; i < n; ++i) {
        dots.push_back({centre + randomVector(random, extent), static_cast<float>(static_cast<int>(random() % 7) - 2)});
      }
    };
    clump(kind, {0, 0, 0}, 100);
    if (kind % 2 == 0) clump(500, {0, 0, 0}, 20);
    if (kind % 3 == 0) clump(300, {500, -300, 20}, 0.3F);
    if (kind % 4 == 1) clump(9, {-7, 7, 0}, 0.002F);
    if (kind % 4 == 2) clump(12, {-7, 7, 0}, 1e-4F);
    if (kind % 4 == 3) clump(40, {3, 3, 3}, 0);
    if (kind % 5 == 0) {
      const float edges[] = {-1024, -0.0F, 0, 1e-30F, -1e-30F, 1023.9999F, 512, -512, 0.0009765625F, -0.0009765625F};
      for (int i = 0; i < 200; ++i) {
        dots.push_back({{edges[random() % 10], edges[random() % 10], edges[random() % 10]}});
      }
    }
    // One clump alone, which parts below the last level that is sorted by buckets.
    if (kind % 7 == 3) dots.clear();
    if (kind % 7 == 3) clump(30, {500.0005F, 500.0005F, 500.0005F}, kind % 2 == 0 ? 0.004F : 0.02F);
    const int inside = static_cast<int>(dots.size());
    double charge = 0;
    Exact moment;
    for (const Dot& dot : dots) {
      charge += dot.charge;
      moment += double(dot.charge) * exact(dot.position);
    }
    for (const Vector& outside : {Vector(2000, 0, 0), Vector(0, NAN, 0), Vector(0, 0, -INFINITY), Vector(0, 0, 1024)}) {
      if (kind % 6 == 0) dots.push_back({outside});
    }
    std::ranges::shuffle(dots, random);
    std::vector<Dot*> pointers;
    for (Dot& dot : dots) pointers.push_back(&dot);

    DotTree single;
    testing::internal::CaptureStderr();
    for (Dot* dot : pointers) single.insert(dot);
    ASSERT_EQ(single.validate(), nullptr);
    EXPECT_EQ(single.root->count, inside);
    EXPECT_EQ(single.root->isInternal, inside > 8);
    EXPECT_EQ(single.root->charge, charge);
    EXPECT_LT(length(exact(single.root->chargeMoment) - moment), 1e-5 * length(moment) + 0.5);
    const Written expected = written(single);
    EXPECT_TRUE(expected.particleCount == inside || kind % 4 > 1) << "only where they nearly coincide";

    const std::string warnings = testing::internal::GetCapturedStderr();
    testing::internal::CaptureStderr();
    bulk.clear();
    std::size_t visited = 0;
    insertion.fill(bulk, pointers, [&](std::uint32_t index) { EXPECT_EQ(index, visited++); });
    insertion.settle(bulk);
    EXPECT_EQ(visited, pointers.size());
    EXPECT_EQ(testing::internal::GetCapturedStderr(), warnings);
    EXPECT_EQ(bulk.nodeCount(), single.nodeCount());
    ASSERT_EQ(written(bulk).words, expected.words);
  }
}

}  // namespace
}  // namespace quorel
