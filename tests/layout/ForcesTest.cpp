#include <gtest/gtest.h>

#include <utility>

#include "layout/LayoutTesting.h"

namespace quorel {
namespace {

/// The forces on every vertex by the plain walk, in set order.
void walkPlainly(Layout& layout) {
  const Calculator calculator(layout.vertices.begin(), layout.vertices.end());
  Tree::Iterator iterator;
  for (auto* vertex : layout.vertices) {
    iterator.push(calculator.tree.rootPosition());
    layout.calculateForcesOnVertex(vertex, iterator);
    EXPECT_TRUE(iterator.empty());
  }
}

/// Compares the forces in an Euler step and those of the plain walk with each other and with those of all pairs. The
/// errors are in parts of the repulsion; returns their mean.
double compareForces(TestLayout& layout, double tolerance) {
  layout.use_runge_kutta = false;
  layout.maxForce = 1e6F;
  // Twice, so that the tree has the charges.
  layout.step(0.0F);
  layout.step(0.0F);
  walkPlainly(layout);
  double sum = 0;
  for (auto* vertex : layout.vertices) {
    const AllPairs reference = allPairsForce(layout, *vertex);
    const Vector fast = vertex->acceleration;
    const Vector plain = std::exchange(vertex->force, {});
    const double error = length(exact(fast) - reference.force);
    EXPECT_LE(error, tolerance * reference.repulsion + 1e-5) << fast << " and not " << reference.force;
    EXPECT_LE(length(fast - plain), 3e-6 * (reference.repulsion + length(reference.force)) + 1e-7)
        << fast << " and " << plain << " differ by more than the order of the sum";
    sum += error / (reference.repulsion + 1e-5);
  }
  return sum / layout.numVertices();
}

/// Where no cell stands for its particles there is only the root taken to one part in 600.
constexpr double errorOfRoot = 0.006;

TEST(Forces, areNearThoseOfAllPairs) {
  std::mt19937 random = seeded(31);
  for (const int processors : {0, 1, 2, 40}) {
    TestLayout layout;
    layout.parallel = processors > 0;
    layout.processorCount = processors;
    const auto vertices = fillRandomly(layout, 1200, random);
    varyEdges(layout.joined, random);
    for (auto* vertex : vertices) vertex->style.set_charge(static_cast<double>(random() % 400) / 100);
    EXPECT_LT(compareForces(layout, 0.02), 0.005);
  }
}

TEST(Forces, followEveryChangeOfTheGraphAndOfItsAttributes) {
  std::mt19937 random = seeded(73);
  TestLayout layout;
  std::vector<Layout::Vertex*> vertices = fillRandomly(layout, 5, random);
  vertices.push_back(layout.add(vertices[0]->position));
  EdgeStyle style = EdgeStyle::below(layout.defaultEdgeStyle);
  VertexStyle charged = VertexStyle::below(layout.defaultVertexStyle);
  for (int round = 0; round < 1000; ++round) {
    auto* vertex = vertices[random() % vertices.size()];
    auto* other = vertices[random() % vertices.size()];
    const unsigned what = random() % 9;
    if (what == 0 && vertices.size() < 8) {
      vertices.push_back(layout.newVertex());
      layout.newEdge(vertices.back(), vertex);
    } else if (what == 1 && vertices.size() > 4) {
      std::erase(vertices, vertex);
      delete vertex;
    } else if (what == 2) {
      layout.newEdge(vertex, other);
    } else if (what == 3 && !vertex->outEdges.empty()) {
      delete *vertex->outEdges.begin();
    } else if (what == 4) {
      charged.set_charge(static_cast<double>(random() % 10));
    } else if (what == 5) {
      vertex->style = VertexStyle::following(charged);
    } else if (what == 6) {
      style.set_strength(static_cast<double>(random() % 10));
      style.set_oriented(random() % 2 == 0);
      style.set_orientation(randomVector(random, 1));
    } else if (what == 7) {
      varyEdges({vertex->outEdges.begin(), vertex->outEdges.end()}, random);
      vertex->style.set_charge(static_cast<double>(random() % 5));
    } else {
      for (auto* edge : vertex->outEdges) {
        edge->style = EdgeStyle::following(random() % 2 == 0 ? style : layout.defaultEdgeStyle);
      }
    }
    layout.parallel = random() % 2 == 0;
    compareForces(layout, errorOfRoot);
    ASSERT_FALSE(HasFailure()) << "round " << round << ", " << what;
  }
}

}  // namespace
}  // namespace quorel
