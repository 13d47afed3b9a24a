#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
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
  std::mt19937 random = seeded(29);
  TestLayout layout;
  // One in the middle, then pairs in opposite places.
  std::vector<Layout::Vertex*> vertices = {layout.add({0, 0, 0})};
  for (int i = 0; i < 250; ++i) {
    const Vector place = randomVector(random, 20);
    vertices.push_back(layout.add(place));
    vertices.push_back(layout.add(-1.0F * place));
  }
  const std::size_t n = vertices.size();
  std::vector<Exact> places, kicks;
  for (auto* vertex : vertices) {
    vertex->velocity = randomVector(random, 1);
    places.push_back(exact(vertex->position));
    kicks.push_back(-1.0 * exact(vertex->velocity));
  }
  layout.startStateValid = true;
  layout.jostle(0.5F);
  EXPECT_FALSE(layout.startStateValid);
  Exact sum;
  Exact direction;
  for (std::size_t i = 0; i < n; ++i) {
    EXPECT_EQ(exact(vertices[i]->position), places[i]);
    kicks[i] += exact(vertices[i]->velocity);
    sum += kicks[i];
    if (length(kicks[i]) > length(direction)) direction = kicks[i];
  }
  EXPECT_LT(length(sum), 1e-3);
  direction *= 1.0 / length(direction);

  // Less their mean the kicks are a wave of amplitude 1/3, a cos(angle) + b sin(angle): the middle and two pairs tell a, b
  // and the mean.
  const auto angle = [&](std::size_t i) { return 0.5 * dot(places[i], direction); };
  std::vector<double> wave;
  for (const Exact& kick : kicks) {
    wave.push_back(dot(kick, direction));
    EXPECT_LT(length(kick - wave.back() * direction), 1e-5) << "all along one line";
  }
  std::size_t best = 1;
  for (std::size_t i = 1; i < n; i += 2) best = std::cos(angle(i)) < std::cos(angle(best)) ? i : best;
  std::size_t steep = 1;
  for (std::size_t i = 1; i < n; i += 2) steep = std::sin(angle(i)) > std::sin(angle(steep)) ? i : steep;
  const double a = ((wave[best] + wave[best + 1]) / 2 - wave[0]) / (std::cos(angle(best)) - 1);
  const double b = (wave[steep] - wave[steep + 1]) / 2 / std::sin(angle(steep));
  EXPECT_NEAR(std::hypot(a, b), 1.0 / 3, 1e-4);
  for (std::size_t i = 0; i < n; ++i) {
    EXPECT_NEAR(wave[i], wave[0] + a * (std::cos(angle(i)) - 1) + b * std::sin(angle(i)), 1e-4);
  }

  // One without a place is left alone, and leaves the others alone.
  vertices[0]->position = {NAN, 0.0F, 0.0F};
  layout.jostle(0.5F);
  for (const auto* vertex : vertices) EXPECT_TRUE(isFinite(vertex->velocity));
  layout.clear();
  layout.jostle(1.0F);
}

}  // namespace
}  // namespace quorel
