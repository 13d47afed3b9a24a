#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <random>
#include <utility>
#include <vector>

#include "layout/LayoutTesting.h"

namespace quorel {
namespace {

bool withinCube(const Vector& p, double halfEdge) {
  return std::abs(p[0]) <= halfEdge && std::abs(p[1]) <= halfEdge && std::abs(p[2]) <= halfEdge;
}

TEST(Graph, everyMixOfAdditionsRemovalsAndCurvesKeepsTheSetsInAgreement) {
  std::mt19937 random = seeded(11);
  TestLayout layout;
  struct Model {
    Layout::Vertex* source;
    Layout::Vertex* target;
    int knots = 0;

    /// The edge itself, and where it is curved two knots and the three edges between them.
    int changes() const { return knots > 0 ? 6 : 1; }
  };
  std::vector<Layout::Vertex*> vertices;
  std::map<Layout::Edge*, Model> edges;
  int changes = 0;
  for (int i = 0; i < 5000; ++i) {
    const unsigned what = random() % 100;
    auto* any = vertices.empty() ? nullptr : vertices[random() % vertices.size()];
    const auto edge = std::next(edges.begin(), edges.empty() ? 0 : random() % std::min<std::size_t>(edges.size(), 20));
    if (vertices.size() < 3 || what < 35) {
      vertices.push_back(layout.newVertex());
      ++changes;
    } else if (what < 75) {
      auto* target = vertices[random() % vertices.size()];
      edges[layout.newEdge(any, target)] = {any, target};
      ++changes;
    } else if (what < 82) {
      std::erase(vertices, any);
      ++changes;
      std::erase_if(edges, [&](const auto& entry) {
        const bool goes = entry.second.source == any || entry.second.target == any;
        changes += goes ? entry.second.changes() : 0;
        return goes;
      });
      delete any;
    } else if (edge != edges.end() && what < 90) {
      changes += edge->second.changes();
      delete edge->first;
      edges.erase(edge);
    } else if (edge != edges.end()) {
      edge->second.knots = 2 - edge->second.knots;
      edge->first->style.set_knots(2 + edge->second.knots);
      layout.updateSplines();
      // Knots are no change of the graph as they come.
      changes += edge->second.knots > 0 ? 3 : 5;
    }
    ASSERT_EQ(layout.changeCount, changes);
    if (i % 50 == 0) {
      ASSERT_EQ(layout.validate(), nullptr);
      std::size_t vertexCount = vertices.size();
      std::size_t edgeCount = edges.size();
      for (const auto& [key, model] : edges) {
        vertexCount += model.knots;
        edgeCount += model.knots > 0 ? 3 : 0;
      }
      for (auto* vertex : layout.vertices) edgeCount -= vertex->outEdges.size();
      ASSERT_EQ(edgeCount, 0U);
      ASSERT_EQ(layout.vertices.size(), vertexCount);
    }
  }
  layout.clear();
  EXPECT_TRUE(layout.vertices.empty() && layout.knots.empty());
}

TEST(Graph, aVertexWithoutEdgesMovesNextToTheOtherEnd) {
  TestLayout layout;
  auto* a = layout.add({10, 0, 0});
  auto* b = layout.add({0, 10, 0});
  auto* c = layout.add({0, 0, 10});
  a->velocity = a->start.velocity = {1, 2, 3};
  layout.startStateValid = true;
  layout.newEdge(a, b);
  EXPECT_TRUE(withinCube(a->position - b->position, 0.375)) << "of two new ones the source moves";
  EXPECT_EQ(b->position, Vector(0, 10, 0));
  EXPECT_EQ(a->velocity, Vector(1, 2, 3));
  layout.newEdge(a, c);
  EXPECT_TRUE(withinCube(c->position - a->position, 0.375)) << "the target moves if only the source has edges";
  const Vector before[] = {a->position, b->position, c->position};
  layout.newEdge(b, c);
  layout.newEdge(a, b);
  layout.newEdge(a, a);
  EXPECT_TRUE(a->position == before[0] && b->position == before[1] && c->position == before[2]);
  EXPECT_EQ(layout.validate(), nullptr) << "start goes along";
}

TEST(Graph, clearPutsBackWhatTheSimulationChangedAndKeepsWhatAPersonSet) {
  TestLayout layout;
  std::mt19937 random = seeded(13);
  fillRandomly(layout, 30, random);
  layout.friction = 0.5F;
  layout.parallel = layout.use_runge_kutta = false;
  layout.startStateValid = true;
  layout.time_step = layout.step_scale = layout.maxForce = 0.1F;
  layout.centroid = layout.eigenvalues = {7, 8, 9};
  layout.covariance[0][1] = 5;
  layout.defaultVertexStyle.set_charge(9.0);
  EXPECT_EQ((*layout.vertices.begin())->style.get_charge(), 9.0);
  layout.clear();
  layout.resetDefaultStyles();
  EXPECT_TRUE(layout.vertices.empty());
  EXPECT_EQ(layout.friction, 0.5F);
  EXPECT_FALSE(layout.parallel || layout.use_runge_kutta || layout.startStateValid);
  const TestLayout fresh;
  EXPECT_EQ(layout.time_step, fresh.time_step);
  EXPECT_EQ(layout.step_scale, fresh.step_scale);
  EXPECT_EQ(layout.maxForce, fresh.maxForce);
  EXPECT_EQ(layout.changeCount, 0);
  EXPECT_EQ(layout.centroid, fresh.centroid);
  EXPECT_EQ(layout.eigenvalues, fresh.eigenvalues);
  EXPECT_EQ(layout.covariance[0][1], 0.0F);

  auto* edge = layout.newEdge(layout.newVertex(), layout.newVertex());
  EXPECT_EQ(edge->source->style.get_charge(), 1.0) << "what was set before is out of sight";
  EXPECT_EQ(edge->source->style.version, layout.defaultVertexStyle.version);
  EXPECT_EQ(edge->style.version, layout.defaultEdgeStyle.version);
  EXPECT_TRUE(edge->source->style.shared && edge->style.shared);
}

TEST(Graph, firstPlacesAndResetStayInsideTheirCubes) {
  TestLayout layout;
  for (int i = 0; i < 1000; ++i) layout.newVertex();
  for (auto* vertex : layout.vertices) {
    EXPECT_TRUE(withinCube(vertex->position, 0.5));
    vertex->velocity = {1, 1, 1};
  }
  layout.startStateValid = true;
  layout.resetLayout();
  EXPECT_FALSE(std::exchange(layout.startStateValid, true));
  EXPECT_EQ(layout.validate(), nullptr) << "start is where they are";
  // Half of the cube of edge L/2, L^3 the volume of a thousand balls of radius 0.75.
  const double half = 0.25 * std::cbrt(4.18879 * 1000 * 0.421875) * 1.0001;
  float farthest = 0;
  for (auto* vertex : layout.vertices) {
    EXPECT_TRUE(withinCube(vertex->position, half));
    EXPECT_EQ(vertex->velocity, Vector());
    farthest = std::max(farthest, vertex->position[0]);
  }
  EXPECT_GT(farthest, 0.95 * half);
}

TEST(GraphArrays, readWhatWasSetAndNothingElseAndGiveTheTreeTheChargesOfTheLastBuild) {
  std::mt19937 random = seeded(79);
  TestLayout layout;
  fillRandomly(layout, 50, random);
  const auto reads = [] {
    const auto count = [](const auto&... attribute) {
      return ((attribute.cacheState().hitCount() + attribute.cacheState().missCount() -
               attribute.cacheState().bypassCount()) +
              ...);
    };
    const EdgeAttributes& edges = edgeAttributes();
    return count(vertexAttributes().charge, edges.strength, edges.knots, edges.oriented, edges.orientation);
  };
  const auto treeCharge = [&] { return layout.buildTree().tree.root->charge; };
  EXPECT_EQ(treeCharge(), 50.0F);
  const auto before = reads();
  layout.step();
  EXPECT_EQ(reads(), before);
  auto* edge = layout.newEdge(*layout.vertices.begin(), *layout.vertices.rbegin());
  EXPECT_EQ(treeCharge(), 50.0F);
  EXPECT_EQ(reads(), before + 4) << "a new edge is read, and nothing else";

  edge->source->style.set_charge(3.0);
  edge->target->style.set_charge(2.0);
  edge->target->position = {0, 2000, 0};
  EXPECT_EQ(treeCharge(), 49.0F);
  EXPECT_EQ(treeCharge(), 51.0F);
  EXPECT_EQ(edge->target->charge, 2.0F) << "though it is not in the tree";
}

}  // namespace
}  // namespace quorel
