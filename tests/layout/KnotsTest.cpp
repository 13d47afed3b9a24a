#include <gtest/gtest.h>

#include <cmath>

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

  TestLayout empty;
  empty.jostle(1.0F);
}

}  // namespace
}  // namespace quorel
