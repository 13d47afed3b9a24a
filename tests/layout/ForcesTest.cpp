#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "layout/LayoutTesting.h"

namespace quorel {
namespace {

/// The forces on every vertex by the plain walk, in set order.
void evaluate(Layout& layout) {
  layout.springConstant = 0.01F / (0.75F * 0.64F);
  const Calculator calculator(layout.vertices.begin(), layout.vertices.end());
  Tree::Iterator iterator;
  for (auto* vertex : layout.vertices) {
    iterator.push(calculator.tree.rootPosition());
    layout.calculateForcesOnVertex(vertex, iterator);
    EXPECT_TRUE(iterator.empty());
  }
}

void clearForces(Layout& layout) {
  for (auto* vertex : layout.vertices) vertex->force = {};
}

void expectNear(const Vector& actual, const Exact& expected, double tolerance) {
  EXPECT_LE(length(exact(actual) - expected), tolerance) << actual << " and not " << expected;
}

TEST(Forces, smallGraphsAgreeWithAllPairs) {
  std::mt19937 random = seeded(31);
  for (int n = 1; n <= 8; ++n) {
    for (const bool parallel : {false, true}) {
      TestLayout layout;
      layout.parallel = parallel;
      const auto vertices = fillRandomly(layout, n, random);
      for (auto* vertex : vertices) {
        vertex->style.set_charge(static_cast<double>(random() % 400) / 100);
        for (auto* edge : vertex->outEdges) {
          edge->style.set_strength(static_cast<double>(random() % 400) / 100);
          edge->style.set_oriented(random() % 2 == 0);
          edge->style.set_length(17);
          if (random() % 4 == 0) edge->style.set_knots(4);
        }
      }
      evaluate(layout);
      for (auto* vertex : vertices) {
        const AllPairs reference = allPairsForce(layout, *vertex);
        expectNear(vertex->force, reference.force, 0.006 * reference.repulsion + 1e-5);
      }
    }
  }
}

TEST(Forces, largeGraphsAgreeWithAllPairsWithinTheOpeningTest) {
  std::mt19937 random = seeded(37);
  for (const bool parallel : {false, true}) {
    TestLayout layout;
    layout.parallel = parallel;
    fillRandomly(layout, 3000, random);
    evaluate(layout);
    double worst = 0;
    double sum = 0;
    for (auto* vertex : layout.vertices) {
      const AllPairs reference = allPairsForce(layout, *vertex);
      const double error = length(exact(vertex->force) - reference.force) / reference.repulsion;
      worst = std::max(worst, error);
      sum += error;
    }
    EXPECT_LT(worst, 0.03);
    EXPECT_LT(sum / layout.numVertices(), 0.008);
  }
}

TEST(Forces, anOrientedEdgePushesUntilItsSourceIsAhead) {
  for (const bool parallel : {false, true}) {
    for (const float height : {-1.0F, 0.0F, 0.7F, 0.76F, 2.0F}) {
      TestLayout layout;
      layout.parallel = parallel;
      auto* source = layout.add({0, height, 0});
      auto* target = layout.add({0, 0, 0});
      auto* edge = layout.join(source, target);
      source->style.set_charge(0);
      edge->style.set_oriented(true);
      evaluate(layout);
      const float k = layout.springConstant;
      const float push = height < 0.75F ? 4 * (0.75F - height) * k : 0.0F;
      expectNear(source->force, {0, push - k * height, 0}, 1e-6);
      expectNear(target->force, {0, k * height - push, 0}, 1e-6);
    }
  }
}

TEST(Forces, coincidentVerticesAndLonelyOnesFeelNoRepulsion) {
  TestLayout layout;
  auto* a = layout.add({1, 1, 1});
  a->velocity = {1, 0, 0};
  evaluate(layout);
  EXPECT_EQ(a->force, Vector(-0.25F, 0, 0));
  clearForces(layout);
  a->velocity = {};
  auto* b = layout.add({1, 1, 1});
  evaluate(layout);
  EXPECT_EQ(a->force, Vector());
  EXPECT_EQ(b->force, Vector());
}

TEST(Forces, aSpringWithoutStrengthOrWithKnotsPullsNothing) {
  TestLayout layout;
  auto* a = layout.add({0, 0, 0});
  auto* b = layout.add({500, 0, 0});
  a->style.set_charge(0);
  layout.join(a, b)->style.set_strength(0);
  layout.join(a, b)->style.set_knots(4);
  evaluate(layout);
  EXPECT_EQ(a->force, Vector());
  layout.join(b, a);
  clearForces(layout);
  evaluate(layout);
  EXPECT_GT(a->force[0], 1.0F);
}

TEST(Forces, aLargeForceIsCutWithItsDirectionKept) {
  TestLayout layout;
  auto* a = layout.add({0, 0, 0});
  layout.friction = 1;
  a->velocity = {15, 20, 0};
  evaluate(layout);
  expectNear(a->force, {-6, -8, 0}, 1e-5);
  EXPECT_TRUE(layout.overshoot);
}

TEST(Forces, badNumbersAreReportedAndDropped) {
  const float inf = std::numeric_limits<float>::infinity();
  const float nan = std::numeric_limits<float>::quiet_NaN();
  {
    TestLayout layout;
    auto* a = layout.add({1, 2, 3});
    a->velocity = {inf, 0, 0};
    const Captured errors(std::cerr);
    evaluate(layout);
    EXPECT_EQ(errors.text(), "@@ Warning: vertex at [1,2,3] has nonfinite velocity [inf,0,0]\n");
    EXPECT_EQ(a->force, Vector());
  }
  {
    TestLayout layout;
    auto* a = layout.add({0, nan, 0});
    auto* b = layout.add({0, 0, 0});
    layout.join(a, b);
    layout.parallel = true;
    const Captured errors(std::cerr);
    evaluate(layout);
    const std::string left = "Particle position not finite or outside root box: [0,nan,0]\n";
    const std::string ofA = "@@ Warning: forces on vertex are [-0,nan,0]\n@@ position = [0,nan,0]\n";
    EXPECT_EQ(errors.text().substr(0, left.size()), left);
    EXPECT_NE(errors.text().find("@@ Warning: forces on vertex are ["), std::string::npos);
    EXPECT_NE(errors.text().find("\n@@ position = [0,nan,0]\n"), std::string::npos);
    EXPECT_NE(errors.text().find("\n@@ position = [0,0,0]\n"), std::string::npos) << "its neighbour feels it as well";
    EXPECT_EQ(a->force, Vector());
    EXPECT_EQ(b->force, Vector());
  }
}

}  // namespace
}  // namespace quorel
