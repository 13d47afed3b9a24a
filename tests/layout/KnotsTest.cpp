#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>
#include <vector>

#include "layout/LayoutTesting.h"

namespace quorel {
namespace {

class Knots : public testing::Test {
protected:
  ~Knots() override { EXPECT_EQ(layout.validate(), nullptr); }

  std::size_t edgeCount() const {
    std::size_t count = 0;
    for (auto* vertex : layout.vertices) count += vertex->outEdges.size();
    return count;
  }

  TestLayout layout;
  Layout::Vertex* a = layout.add({0, 0, 0});
  Layout::Vertex* b = layout.add({3, 0, 0});
  Layout::Edge* edge = layout.join(a, b);
};

TEST_F(Knots, aCurvedEdgeGetsAChainOfInvisibleKnots) {
  edge->style.set_knots(4);
  layout.changeCount = 0;
  layout.updateSplines();
  ASSERT_EQ(layout.validate(), nullptr);
  EXPECT_EQ(layout.numVertices(), 4);
  EXPECT_EQ(edgeCount(), 4U);
  EXPECT_EQ(layout.changeCount, 3) << "knots are no change of the graph, their edges are";
  const std::vector<Layout::Vertex*>& chain = *layout.knots.at(edge);
  ASSERT_EQ(chain.size(), 4U);
  EXPECT_EQ(chain.front(), a);
  EXPECT_EQ(chain.back(), b);
  for (std::size_t i = 1; i < 3; ++i) {
    EXPECT_FALSE(chain[i]->style.get_visible());
    EXPECT_EQ(chain[i]->style.get_charge(), 0.25);
    EXPECT_TRUE(chain[i]->style.shared);
    for (std::size_t axis = 0; axis < 3; ++axis) {
      EXPECT_LE(std::abs(chain[i]->position[axis] - chain[i - 1]->position[axis]), Layout::pairDistance / 2)
          << "a chain starts as a clump at its source";
    }
  }
  EXPECT_EQ(b->position, Vector(3, 0, 0));

  layout.updateSplines();
  EXPECT_EQ(layout.numVertices(), 4) << "nothing to do the second time";

  layout.step();
  EXPECT_TRUE(edge->hasKnots);
  for (auto* link : chain[1]->inEdges) EXPECT_FALSE(link->hasKnots);

  edge->style.set_knots(2);
  layout.updateSplines();
  EXPECT_EQ(layout.numVertices(), 2);
  EXPECT_EQ(edgeCount(), 1U);
  EXPECT_TRUE(layout.knots.empty());
}

TEST_F(Knots, aChainIsRemadeForAnotherCountAndNeverLongerThanTen) {
  edge->style.set_knots(5);
  layout.updateSplines();
  EXPECT_EQ(layout.numVertices(), 5);
  edge->style.set_knots(4);
  layout.updateSplines();
  EXPECT_EQ(layout.numVertices(), 4);
  edge->style.set_knots(20);
  layout.updateSplines();
  layout.updateSplines();
  EXPECT_EQ(layout.numVertices(), 10);
  EXPECT_EQ(layout.knots.at(edge)->size(), 10U);
}

TEST_F(Knots, goWithTheirEdgeWithEitherEndAndWithTheGraph) {
  const auto curve = [&] {
    edge->style.set_knots(4);
    layout.updateSplines();
    ASSERT_EQ(layout.numVertices(), 4);
  };
  curve();
  delete edge;
  EXPECT_EQ(layout.numVertices(), 2);
  EXPECT_EQ(edgeCount(), 0U);

  edge = layout.join(a, b);
  curve();
  delete a;
  EXPECT_EQ(layout.numVertices(), 1);
  EXPECT_TRUE(layout.knots.empty());

  a = layout.add({1, 1, 1});
  edge = layout.join(a, b);
  curve();
  delete b;
  EXPECT_EQ(layout.numVertices(), 1);

  b = layout.add({2, 1, 1});
  edge = layout.join(a, b);
  curve();
  layout.clear();
  EXPECT_EQ(layout.numVertices(), 0);
  EXPECT_TRUE(layout.knots.empty());
}

TEST(Jostle, kicksAlongAPlaneWaveAndKeepsTheMomentum) {
  std::mt19937 random = seeded(29);
  TestLayout layout;
  const auto vertices = fillRandomly(layout, 500, random);
  layout.step();
  std::vector<Vector> before;
  std::vector<Vector> places;
  Exact momentum;
  for (auto* vertex : vertices) {
    before.push_back(vertex->velocity);
    places.push_back(vertex->position);
    momentum += exact(vertex->velocity);
  }
  layout.jostle(0.5F);
  EXPECT_FALSE(layout.startStateValid);
  Exact after;
  Exact direction;
  for (std::size_t i = 0; i < vertices.size(); ++i) {
    after += exact(vertices[i]->velocity);
    EXPECT_EQ(vertices[i]->position, places[i]);
    const Exact kick = exact(vertices[i]->velocity) - exact(before[i]);
    EXPECT_LE(length(kick), 0.67) << "a third each for the wave and the mean";
    if (length(kick) > length(direction)) direction = kick;
  }
  EXPECT_LT(length(after - momentum), 1e-3);
  EXPECT_GT(length(direction), 0.05);
  for (std::size_t i = 0; i < vertices.size(); ++i) {
    const Exact kick = exact(vertices[i]->velocity) - exact(before[i]);
    EXPECT_NEAR(std::abs(dot(kick, direction)), length(kick) * length(direction), 1e-5) << "all along one line";
  }

  // Along the line the kicks are a wave of the asked frequency and of amplitude 1/3 about some mean: three of them, a
  // sixth of a turn and more apart, give its parameters, and all others must lie on it.
  direction *= 1.0 / length(direction);
  const auto along = [&](std::size_t i) { return 0.5 * dot(exact(places[i]), direction); };
  const auto kickOf = [&](std::size_t i) { return dot(exact(vertices[i]->velocity) - exact(before[i]), direction); };
  std::vector<std::size_t> order(vertices.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::sort(order.begin(), order.end(), [&](std::size_t i, std::size_t j) { return along(i) < along(j); });
  const std::size_t first = order.front();
  const std::size_t second = order[order.size() / 2];
  const std::size_t third = order.back();
  ASSERT_GT(along(third) - along(first), 2.0 * std::numbers::pi / 6.0);
  const auto row = [&](std::size_t i) { return Exact(std::cos(along(i)), std::sin(along(i)), 1.0); };
  const auto cross = [](const Exact& u, const Exact& v) {
    return Exact(u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]);
  };
  const double determinant = dot(row(first), cross(row(second), row(third)));
  const Exact wave = (1.0 / determinant) *
                     (kickOf(first) * cross(row(second), row(third)) + kickOf(second) * cross(row(third), row(first)) +
                      kickOf(third) * cross(row(first), row(second)));
  EXPECT_NEAR(std::hypot(wave[0], wave[1]), 1.0 / 3.0, 1e-3);
  for (std::size_t i = 0; i < vertices.size(); ++i) EXPECT_NEAR(kickOf(i), dot(wave, row(i)), 1e-3);

  // One without a place is left alone, and leaves the others alone.
  const Vector nowhere(NAN, 0.0F, 0.0F);
  vertices.front()->position = nowhere;
  layout.jostle(0.5F);
  for (const auto* vertex : vertices) EXPECT_TRUE(isFinite(vertex->velocity));

  TestLayout empty;
  empty.jostle(1.0F);
}

}  // namespace
}  // namespace quorel
