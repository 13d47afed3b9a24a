#include "layout/Spacetree.h"

#include <gtest/gtest.h>

#include <cmath>
#include <deque>
#include <limits>
#include <set>

#include "layout/LayoutTesting.h"
#include "layout/VertexSummary.h"

namespace quorel {
namespace {

struct Dot {
  Vector position;
  float charge = 1.0F;
};

using DotTree = Spacetree<VertexSummary<Dot>, Dot>;

/// Every particle found by a walk, in the order in which it is found.
std::vector<Dot*> walk(const DotTree& tree) {
  std::vector<Dot*> found;
  DotTree::Iterator iterator;
  iterator.push(tree.rootPosition());
  while (!iterator.empty()) {
    const auto position = iterator.pop();
    if (position.isParticle()) {
      found.push_back(position.particle());
    } else {
      DotTree::expand(position, iterator);
    }
  }
  return found;
}

TEST(Spacetree, holdsEachParticleOnceWithTrueSummaries) {
  std::mt19937 random = seeded(17);
  for (const int n : {0, 1, 8, 9, 100, 3000}) {
    DotTree tree;
    std::deque<Dot> dots;
    double charge = 0;
    Exact moment;
    for (int i = 0; i < n; ++i) {
      // Clumps within clumps, so that depths differ.
      const float extent = std::pow(10.0F, static_cast<float>(random() % 5) - 1.0F);
      dots.push_back({randomVector(random, std::min(extent, 2000.0F)), static_cast<float>(random() % 100) / 50});
      ASSERT_TRUE(tree.insert(&dots.back()));
      charge += dots.back().charge;
      moment += double(dots.back().charge) * exact(dots.back().position);
    }
    ASSERT_EQ(tree.validate(), nullptr) << n;
    const std::vector<Dot*> found = walk(tree);
    EXPECT_EQ(found.size(), static_cast<std::size_t>(n));
    EXPECT_EQ(std::set<Dot*>(found.begin(), found.end()).size(), found.size());
    EXPECT_EQ(tree.root->count, n);
    EXPECT_EQ(tree.root->isInternal, n > 8);
    EXPECT_NEAR(tree.root->charge, charge, 1e-4 * charge);
    if (n > 0) {
      EXPECT_NEAR(length(exact(tree.root->centre) - (1 / charge) * moment), 0, 0.01);
    }
  }
}

TEST(Spacetree, takesTheLowerFacesOfTheRootBoxAndNotTheUpper) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float inf = std::numeric_limits<float>::infinity();
  struct Case {
    Vector position;
    bool inside;
    const char* text;
  };
  const Case cases[] = {
      {{-1024, -1024, -1024}, true, ""},   {{1023.9999F, 0, 0}, true, ""},
      {{1024, 0, 0}, false, "[1024,0,0]"}, {{0, 0, -1024.5F}, false, "[0,0,-1024.5]"},
      {{0, nan, 0}, false, "[0,nan,0]"},   {{0, 0, -inf}, false, "[0,0,-inf]"},
  };
  for (const Case& c : cases) {
    DotTree tree;
    Dot dot{c.position};
    const Captured errors(std::cerr);
    EXPECT_EQ(tree.insert(&dot), c.inside);
    EXPECT_EQ(errors.text(),
              c.inside ? "" : std::string("Particle position not finite or outside root box: ") + c.text + "\n");
    EXPECT_EQ(tree.root->count, c.inside ? 1 : 0);
    EXPECT_EQ(walk(tree).size(), c.inside ? 1U : 0U);
  }
}

TEST(Spacetree, visitsOctantsFromTheLastToTheFirstWithMidpointsInTheUpperHalf) {
  // Octant 4 bx + 2 by + bz, one particle a corner and one on the midpoint of all axes.
  DotTree tree;
  std::deque<Dot> dots;
  for (int octant = 0; octant < 8; ++octant) {
    dots.push_back(
        {{(octant & 4) != 0 ? 1.0F : -1.0F, (octant & 2) != 0 ? 1.0F : -1.0F, (octant & 1) != 0 ? 1.0F : -1.0F}});
  }
  dots.push_back({{0, 0, 0}});
  for (Dot& dot : dots) tree.insert(&dot);
  const std::vector<Dot*> found = walk(tree);
  ASSERT_EQ(found.size(), 9U);
  EXPECT_EQ(found[0], &dots[8]) << "the later of the two in octant 7";
  for (int i = 1; i < 9; ++i) EXPECT_EQ(found[i], &dots[8 - i]);
}

TEST(Spacetree, dropsCoincidentParticlesAndKeepsTheirCharge) {
  for (const int n : {8, 9, 50}) {
    DotTree tree;
    std::deque<Dot> dots(static_cast<std::size_t>(n), Dot{{3, -2, 1}, 0.5F});
    for (Dot& dot : dots) tree.insert(&dot);
    EXPECT_EQ(tree.root->count, n);
    EXPECT_FLOAT_EQ(tree.root->charge, 0.5F * static_cast<float>(n));
    EXPECT_EQ(tree.validate(), nullptr);
    const std::size_t kept = walk(tree).size();
    if (n <= 9) {
      EXPECT_EQ(kept, n == 8 ? 8U : 0U);
    }
    EXPECT_LE(kept, 8U);
  }
}

TEST(Spacetree, aChargeReachesTheTreeOneBuildAfterTheVertex) {
  TestLayout layout;
  auto* vertex = layout.add({1, 1, 1});
  vertex->style.set_charge(3.0);
  const auto build = [&] { return Calculator(layout.vertices.begin(), layout.vertices.end()).tree.root->charge; };
  EXPECT_EQ(build(), 1.0F);
  EXPECT_EQ(vertex->charge, 3.0F);
  EXPECT_EQ(build(), 3.0F);
}

TEST(Spacetree, theBuildRefreshesVerticesItLeavesOut) {
  TestLayout layout;
  auto* inside = layout.add({0, 0, 0});
  auto* outside = layout.add({0, 2000, 0});
  auto* edge = layout.join(outside, inside);
  outside->style.set_charge(2.0);
  edge->style.set_strength(4.0);
  edge->style.set_knots(4);
  edge->style.set_oriented(true);
  const Captured errors(std::cerr);
  const Calculator calculator(layout.vertices.begin(), layout.vertices.end());
  EXPECT_EQ(calculator.tree.root->count, 1);
  EXPECT_EQ(outside->charge, 2.0F);
  EXPECT_EQ(edge->strength, 4.0F);
  EXPECT_TRUE(edge->hasKnots);
  EXPECT_TRUE(edge->oriented);
}

}  // namespace
}  // namespace quorel
