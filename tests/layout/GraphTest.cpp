#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <tuple>
#include <utility>
#include <vector>

#include "layout/LayoutTesting.h"

namespace quorel {
namespace {

bool withinCube(const Vector& p, double halfEdge) {
  return std::abs(p[0]) <= halfEdge && std::abs(p[1]) <= halfEdge && std::abs(p[2]) <= halfEdge;
}

TEST(Graph, everyAdditionAndRemovalIsAChangeThoughNotThatOfAKnot) {
  TestLayout layout;
  auto* a = layout.newVertex();
  auto* b = layout.newVertex();
  auto* edge = layout.newEdge(a, b);
  auto* loop = layout.newEdge(a, a);
  EXPECT_EQ(layout.changeCount, 4);
  edge->style.set_knots(4);
  layout.updateSplines();
  EXPECT_EQ(layout.changeCount, 7) << "the three links between the knots";
  delete loop;
  EXPECT_EQ(layout.changeCount, 8);
  delete b;
  EXPECT_EQ(layout.changeCount, 15) << "with the edge and all that its curve consists of";
  EXPECT_EQ(layout.validate(), nullptr);
  EXPECT_EQ(layout.numVertices(), 1);
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
  EXPECT_FALSE(layout.parallel || layout.use_runge_kutta);
  const auto simulated = [](const Layout& l) {
    return std::tuple(l.time_step, l.step_scale, l.maxForce, l.changeCount, l.centroid, l.eigenvalues,
                      l.covariance[0][1], l.startStateValid);
  };
  EXPECT_EQ(simulated(layout), simulated(TestLayout()));
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

TEST(Knots, followTheCountInAnInvisibleChainOfAtMostTen) {
  TestLayout layout;
  auto* a = layout.add({0, 0, 0});
  auto* b = layout.add({3, 0, 0});
  auto* edge = layout.join(a, b);
  for (const int count : {4, 4, 5, 4, 20, 20, 2, 3}) {
    edge->style.set_knots(count);
    layout.updateSplines();
    ASSERT_EQ(layout.validate(), nullptr);
    ASSERT_EQ(layout.numVertices(), std::min(count, 10));
    ASSERT_EQ(layout.knots.size(), count == 2 ? 0U : 1U);
    if (count == 2) continue;
    const std::vector<Layout::Vertex*>& chain = *layout.knots.at(edge);
    ASSERT_EQ(chain.size(), layout.vertices.size());
    for (std::size_t i = 1; i + 1 < chain.size(); ++i) {
      EXPECT_EQ(chain[i]->style.get_charge(), 0.25);
      EXPECT_FALSE(chain[i]->style.get_visible());
      EXPECT_TRUE(chain[i]->style.shared);
      for (auto* link : chain[i]->inEdges) EXPECT_FALSE(link->style.get_visible());
      const Vector fromLast = chain[i]->position - chain[i - 1]->position;
      for (std::size_t axis = 0; axis < 3; ++axis) EXPECT_LE(std::abs(fromLast[axis]), 0.375F) << "a clump at first";
    }
    EXPECT_TRUE(a->position == Vector(0, 0, 0) && b->position == Vector(3, 0, 0));
  }
}

TEST(Jostle, kicksAlongAPlaneWaveAndKeepsTheMomentum) {
  constexpr float frequency = 0.5F;
  constexpr float distance = 2.0F;
  const Exact old(1, -2, 3);
  TestLayout layout;
  std::vector<Layout::Vertex*> rows[3];
  for (int i = 0; i < 120; ++i) {
    Vector place;
    place[i % 3] = distance * static_cast<float>(i / 3);
    rows[i % 3].push_back(layout.add(place));
    rows[i % 3].back()->velocity = {1, -2, 3};
  }
  layout.startStateValid = true;
  layout.jostle(frequency);
  EXPECT_FALSE(layout.startStateValid);
  const auto kick = [&](const Layout::Vertex* vertex) { return exact(vertex->velocity) - old; };
  Exact sum;
  Exact direction;
  for (const auto* vertex : layout.vertices) {
    sum += kick(vertex);
    if (length(kick(vertex)) > length(direction)) direction = kick(vertex);
  }
  EXPECT_LT(length(sum), 1e-3);
  direction *= 1.0 / length(direction);

  for (std::size_t axis = 0; axis < 3; ++axis) {
    std::vector<double> wave;
    for (const auto* vertex : rows[axis]) {
      EXPECT_EQ(vertex->position[axis], distance * static_cast<float>(wave.size()));
      wave.push_back(dot(kick(vertex), direction));
      EXPECT_LT(length(kick(vertex) - wave.back() * direction), 1e-5) << "all along one line";
    }
    // From each to the next a wave of amplitude 1/3 rises by d = 2/3 sin(turn/2) sin(...), whatever is taken off all of it; and
    // of each three such sines, d1^2 - d0 d2 is the square of their amplitude times sin(turn).
    std::adjacent_difference(wave.begin(), wave.end(), wave.begin());
    const double turn = frequency * distance * direction[axis];
    const double expected = std::pow(2.0 / 3.0 * std::sin(turn / 2) * std::sin(turn), 2);
    for (std::size_t i = 2; i + 1 < wave.size(); ++i) {
      EXPECT_NEAR(wave[i] * wave[i] - wave[i - 1] * wave[i + 1], expected, 1e-5);
    }
  }

  // One without a place is left alone, and leaves the others alone.
  rows[0][0]->position = {NAN, 0.0F, 0.0F};
  layout.jostle(frequency);
  for (const auto* vertex : layout.vertices) EXPECT_TRUE(isFinite(vertex->velocity));
  layout.clear();
  layout.jostle(1.0F);
}

}  // namespace
}  // namespace quorel
