#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <random>
#include <vector>

#include "layout/LayoutTesting.h"

namespace quorel {
namespace {

TEST(Graph, everyMixOfAdditionsAndRemovalsKeepsTheSetsInAgreement) {
  std::mt19937 random = seeded(11);
  TestLayout layout;
  struct End {
    Layout::Vertex* source;
    Layout::Vertex* target;
  };
  std::vector<Layout::Vertex*> vertices;
  std::map<Layout::Edge*, End> edges;
  for (int i = 0; i < 5000; ++i) {
    const int changesBefore = layout.changeCount;
    const unsigned what = random() % 100;
    if (vertices.size() < 3 || what < 35) {
      vertices.push_back(layout.newVertex());
      EXPECT_EQ(layout.changeCount, changesBefore + 1);
    } else if (what < 80) {
      auto* source = vertices[random() % vertices.size()];
      auto* target = vertices[random() % vertices.size()];
      edges[layout.newEdge(source, target)] = {source, target};
      EXPECT_EQ(layout.changeCount, changesBefore + 1);
    } else if (what < 90 && !edges.empty()) {
      auto doomed = edges.begin();
      std::advance(doomed, random() % std::min<std::size_t>(edges.size(), 20));
      delete doomed->first;
      edges.erase(doomed);
      EXPECT_EQ(layout.changeCount, changesBefore + 1);
    } else {
      const std::size_t index = random() % vertices.size();
      Layout::Vertex* doomed = vertices[index];
      const std::size_t touching =
          std::erase_if(edges, [&](const auto& e) { return e.second.source == doomed || e.second.target == doomed; });
      delete doomed;
      vertices.erase(vertices.begin() + static_cast<std::ptrdiff_t>(index));
      EXPECT_EQ(layout.changeCount, changesBefore + 1 + static_cast<int>(touching));
    }
    if (i % 50 == 0) {
      ASSERT_EQ(layout.validate(), nullptr);
      std::size_t edgeCount = 0;
      for (auto* vertex : layout.vertices) edgeCount += vertex->outEdges.size();
      ASSERT_EQ(edgeCount, edges.size());
      ASSERT_EQ(layout.vertices.size(), vertices.size());
    }
  }
}

TEST(Graph, aVertexWithoutEdgesMovesNextToTheOtherEnd) {
  TestLayout layout;
  const auto near = [](const Layout::Vertex* a, const Layout::Vertex* b) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      if (std::abs(a->position[axis] - b->position[axis]) > Layout::pairDistance / 2) return false;
    }
    return a->start.position == a->position;
  };
  auto* a = layout.add({10, 0, 0});
  auto* b = layout.add({0, 10, 0});
  auto* c = layout.add({0, 0, 10});
  a->velocity = {1, 2, 3};
  layout.newEdge(a, b);
  EXPECT_TRUE(near(a, b)) << "of two new ones the source moves";
  EXPECT_EQ(b->position, Vector(0, 10, 0));
  EXPECT_EQ(a->velocity, Vector(1, 2, 3));
  layout.newEdge(a, c);
  EXPECT_TRUE(near(c, a)) << "the target moves if only the source has edges";
  const Vector before[] = {a->position, b->position, c->position};
  layout.newEdge(b, c);
  layout.newEdge(a, b);
  layout.newEdge(a, a);
  EXPECT_EQ(a->position, before[0]);
  EXPECT_EQ(b->position, before[1]);
  EXPECT_EQ(c->position, before[2]);
}

TEST(Graph, aHubGoesInTimeLinearInItsEdges) {
  TestLayout layout;
  const auto secondsToRemoveHubOf = [&](int degree) {
    auto* hub = layout.newVertex();
    for (int i = 0; i < degree; ++i) {
      auto* leaf = layout.newVertex();
      if (i % 2 == 0) {
        layout.newEdge(hub, leaf);
      } else {
        layout.newEdge(leaf, hub);
      }
    }
    const auto start = std::chrono::steady_clock::now();
    delete hub;
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    for (auto* leaf : layout.vertices) EXPECT_EQ(leaf->degree(), 0U);
    layout.clear();
    return taken.count();
  };
  const double small = secondsToRemoveHubOf(5000);
  const double large = secondsToRemoveHubOf(100000);
  EXPECT_LT(large, 20 * 8 * std::max(small, 1e-3)) << "twenty times the edges; quadratic would be 400 times";
}

TEST(Graph, clearPutsBackWhatTheSimulationChangedAndKeepsWhatAPersonSet) {
  TestLayout layout;
  std::mt19937 random = seeded(13);
  fillRandomly(layout, 30, random);
  layout.friction = 0.5F;
  layout.parallel = false;
  layout.use_runge_kutta = false;
  layout.time_step = 3;
  layout.step_scale = 0.1F;
  layout.maxForce = 1;
  layout.centroid = {1, 2, 3};
  layout.eigenvalues = {7, 8, 9};
  layout.covariance[0][1] = 5;
  layout.step();
  layout.startStateValid = true;
  layout.clear();
  EXPECT_EQ(layout.numVertices(), 0);
  EXPECT_EQ(layout.friction, 0.5F);
  EXPECT_FALSE(layout.parallel);
  EXPECT_FALSE(layout.use_runge_kutta);
  EXPECT_EQ(layout.time_step, 2.0F);
  EXPECT_EQ(layout.step_scale, 1.0F);
  EXPECT_EQ(layout.maxForce, 10.0F);
  EXPECT_EQ(layout.changeCount, 0);
  EXPECT_FALSE(layout.startStateValid);
  EXPECT_EQ(layout.centroid, Vector());
  EXPECT_EQ(layout.eigenvalues, Vector(1, 1, 1));
  EXPECT_EQ(layout.covariance[0][1], 0.0F);
}

TEST(Graph, firstPlacesAndResetStayInsideTheirCubes) {
  TestLayout layout;
  layout.startStateValid = true;
  layout.resetLayout();
  EXPECT_FALSE(layout.startStateValid);
  for (int i = 0; i < 1000; ++i) layout.newVertex();
  for (auto* vertex : layout.vertices) {
    for (std::size_t axis = 0; axis < 3; ++axis) EXPECT_LE(std::abs(vertex->position[axis]), 0.5F);
    EXPECT_EQ(vertex->start.position, vertex->position);
    vertex->velocity = {1, 1, 1};
  }
  layout.resetLayout();
  // Half of the cube of edge L/2, L^3 the volume of a thousand balls of radius 0.75.
  const double half = 0.25 * std::cbrt(4.18879 * 1000 * 0.421875) * 1.0001;
  float farthest = 0;
  for (auto* vertex : layout.vertices) {
    for (std::size_t axis = 0; axis < 3; ++axis) farthest = std::max(farthest, std::abs(vertex->position[axis]));
    EXPECT_EQ(vertex->velocity, Vector());
    EXPECT_EQ(vertex->start.position, vertex->position);
    EXPECT_EQ(vertex->start.velocity, Vector());
  }
  EXPECT_LE(farthest, half);
  EXPECT_GT(farthest, 0.95 * half);
}

TEST(Graph, newVerticesAndEdgesFollowTheDefaultStyles) {
  TestLayout layout;
  auto* a = layout.newVertex();
  auto* b = layout.newVertex();
  auto* edge = layout.newEdge(a, b);
  EXPECT_EQ(a->style.version, layout.defaultVertexStyle.version);
  EXPECT_TRUE(a->style.shared);
  EXPECT_EQ(edge->style.version, layout.defaultEdgeStyle.version);
  EXPECT_TRUE(edge->style.shared);
  EXPECT_EQ(layout.knotVertexStyle.get_charge(), 0.25);
  EXPECT_FALSE(layout.knotEdgeStyle.get_visible());

  layout.defaultVertexStyle.set_charge(9.0);
  EXPECT_EQ(b->style.get_charge(), 9.0);
  layout.clear();
  layout.resetDefaultStyles();
  EXPECT_EQ(layout.newVertex()->style.get_charge(), 1.0) << "what was set before a clear is out of sight";
}

}  // namespace
}  // namespace quorel
