#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "layout/LayoutTesting.h"

namespace quorel {
namespace {

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

  // Less the mean, which is not known, the kicks are a wave of amplitude 1/3: with w at the middle, those at a pair are
  // together 2 w cos(angle), and tell the mean where the angle is large; what is between them tells the amplitude.
  const auto angle = [&](std::size_t i) { return 0.5 * dot(places[i], direction); };
  std::vector<double> wave;
  for (const Exact& kick : kicks) {
    wave.push_back(dot(kick, direction));
    EXPECT_LT(length(kick - wave.back() * direction), 1e-5) << "all along one line";
  }
  std::size_t turned = 1;
  for (std::size_t i = 1; i < n; i += 2) turned = std::cos(angle(i)) < std::cos(angle(turned)) ? i : turned;
  const double c = std::cos(angle(turned));
  ASSERT_LT(c, 0.0);
  const double mean = (wave[turned] + wave[turned + 1] - 2 * c * wave[0]) / (2 * c - 2);
  for (double& kick : wave) kick += mean;
  for (std::size_t i = 1; i < n; i += 2) {
    const double sine = std::sin(angle(i));
    EXPECT_NEAR(wave[i] + wave[i + 1], 2 * wave[0] * std::cos(angle(i)), 1e-4);
    EXPECT_NEAR(std::hypot((wave[i] - wave[i + 1]) / 2, wave[0] * sine), std::abs(sine) / 3, 1e-4);
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
