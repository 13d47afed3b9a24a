#include "layout/BulkInsertion.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <deque>
#include <limits>

#include "layout/LayoutTesting.h"
#include "layout/VertexSummary.h"

namespace quorel {
namespace {

struct Dot {
  Vector position;
  float charge = 1.0F;
};

using DotTree = Spacetree<VertexSummary<Dot>, Dot>;

template <class T>
bool sameBits(const T& a, const T& b) {
  return std::memcmp(&a, &b, sizeof(T)) == 0;
}

void expectSame(const DotTree::Node* a, const DotTree::Node* b) {
  ASSERT_EQ(a->count, b->count);
  ASSERT_EQ(a->isInternal, b->isInternal);
  ASSERT_TRUE(sameBits(a->charge, b->charge));
  ASSERT_TRUE(sameBits(a->chargeMoment, b->chargeMoment));
  ASSERT_TRUE(sameBits(a->diagonal, b->diagonal));
  for (std::size_t axis = 0; axis < 3; ++axis) {
    ASSERT_TRUE(sameBits(a->centre[axis], b->centre[axis]) ||
                (std::isnan(a->centre[axis]) && std::isnan(b->centre[axis])));
  }
  for (int i = 0; i < 8; ++i) {
    const auto slot = static_cast<std::size_t>(i);
    if (!a->isInternal || a->children[slot] == nullptr || b->children[slot] == nullptr) {
      ASSERT_EQ(a->children[slot], b->children[slot]);
    } else {
      expectSame(a->node(i), b->node(i));
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

TEST(BulkInsertion, makesTheTreeThatOneInsertionAfterTheOtherMakes) {
  std::mt19937 random = seeded(71);
  const auto clump = [&](std::deque<Dot>& dots, int n, const Vector& centre, float extent) {
    for (int i = 0; i < n; ++i) {
      dots.push_back({centre + randomVector(random, extent), static_cast<float>(static_cast<int>(random() % 7) - 2)});
    }
  };
  // Memory of one tree serves the next.
  BulkInsertion<VertexSummary<Dot>, Dot> insertion;
  DotTree bulk;
  for (int kind = 0; kind < 60; ++kind) {
    std::deque<Dot> dots;
    clump(dots, kind, {0, 0, 0}, 100);
    if (kind % 2 == 0) clump(dots, 500, {0, 0, 0}, 20);
    if (kind % 3 == 0) clump(dots, 300, {500, -300, 20}, 0.3F);
    if (kind % 4 == 1) clump(dots, 9, {-7, 7, 0}, 0.002F);
    if (kind % 4 == 2) clump(dots, 12, {-7, 7, 0}, 1e-4F);
    if (kind % 4 == 3) clump(dots, 40, {3, 3, 3}, 0);
    if (kind % 5 == 0) {
      const float edges[] = {-1024, -0.0F, 0, 1e-30F, -1e-30F, 1023.9999F, 512, -512, 0.0009765625F, -0.0009765625F};
      for (int i = 0; i < 200; ++i)
        dots.push_back({{edges[random() % 10], edges[random() % 10], edges[random() % 10]}});
    }
    if (kind % 6 == 0) {
      dots.push_back({{2000, 0, 0}});
      dots.push_back({{0, std::numeric_limits<float>::quiet_NaN(), 0}});
      dots.push_back({{0, 0, 1024}});
    }
    if (kind % 7 == 3) {
      // One clump alone, which parts below the last level that is sorted by buckets.
      dots.clear();
      clump(dots, 30, {500.0005F, 500.0005F, 500.0005F}, kind % 2 == 0 ? 0.004F : 0.02F);
    }
    std::ranges::shuffle(dots, random);
    std::vector<Dot*> pointers;
    for (Dot& dot : dots) pointers.push_back(&dot);

    DotTree single;
    std::string warnings;
    {
      const Captured errors(std::cerr);
      for (Dot* dot : pointers) single.insert(dot);
      warnings = errors.text();
    }
    bulk.clear();
    const Captured errors(std::cerr);
    std::size_t visited = 0;
    insertion.fill(bulk, pointers, [&](std::uint32_t index) { EXPECT_EQ(index, visited++); });
    insertion.settle(bulk);
    EXPECT_EQ(visited, pointers.size());
    EXPECT_EQ(errors.text(), warnings);
    EXPECT_EQ(bulk.nodeCount(), single.nodeCount());
    expectSame(bulk.root, single.root);
    ASSERT_FALSE(HasFatalFailure()) << "kind " << kind;
  }
}

}  // namespace
}  // namespace quorel
