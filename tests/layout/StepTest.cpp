#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <functional>
#include <limits>
#include <thread>

#include "layout/LayoutTesting.h"

namespace quorel {
namespace {

struct State {
  std::vector<Vector> positions;
  std::vector<Vector> velocities;
};

/// The state of a random graph after some steps of size h.
State stateAfter(int steps, float h, int vertexCount, bool parallel, bool rungeKutta, int processors = 3) {
  std::mt19937 random(41);
  TestLayout layout;
  layout.parallel = parallel;
  layout.use_runge_kutta = rungeKutta;
  layout.processorCount = processors;
  const auto vertices = fillRandomly(layout, vertexCount, random);
  for (int i = 0; i < steps; ++i) layout.step(h);
  State state;
  for (auto* vertex : vertices) {
    state.positions.push_back(vertex->position);
    state.velocities.push_back(vertex->velocity);
  }
  return state;
}

float largestDifference(const State& a, const State& b) {
  float largest = 0;
  for (std::size_t i = 0; i < a.positions.size(); ++i) {
    largest = std::max(largest, length(a.positions[i] - b.positions[i]));
    largest = std::max(largest, length(a.velocities[i] - b.velocities[i]));
  }
  return largest;
}

TEST(Step, serialAndParallelAgreeWhereTheyMust) {
  // Without a cell far enough to stand for its particles the tree's age makes no difference.
  EXPECT_LT(largestDifference(stateAfter(20, 2, 8, false, true), stateAfter(20, 2, 8, true, true)), 1e-4F);
  // An Euler step has one tree however it is made.
  EXPECT_LT(largestDifference(stateAfter(1, 2, 2000, false, false), stateAfter(1, 2, 2000, true, false)), 1e-5F);
  // A parallel Runge-Kutta step keeps the summaries of its start, which are good as long as little moves in a step.
  EXPECT_LT(largestDifference(stateAfter(3, 0.1F, 2000, false, true), stateAfter(3, 0.1F, 2000, true, true)), 0.005F);
}

TEST(Step, theNumberOfWorkersMakesNoDifference) {
  const State one = stateAfter(1, 2, 1500, true, true, 1);
  for (const int processors : {2, 3, 9, 40}) {
    EXPECT_LT(largestDifference(one, stateAfter(1, 2, 1500, true, true, processors)), 1e-4F) << processors;
  }
}

/// One step of all pairs in double precision.
State allPairsStep(TestLayout& layout, const std::vector<Layout::Vertex*>& vertices, bool rungeKutta, double h) {
  const std::size_t n = vertices.size();
  std::vector<Exact> x(n), v(n), a1(n), a2(n), a3(n), a4(n);
  for (std::size_t i = 0; i < n; ++i) {
    x[i] = exact(vertices[i]->position);
    v[i] = exact(vertices[i]->velocity);
  }
  const auto narrow = [](const Exact& e) { return Vector(float(e[0]), float(e[1]), float(e[2])); };
  const auto at = [&](const auto& position, const auto& velocity, std::vector<Exact>& acceleration) {
    for (std::size_t i = 0; i < n; ++i) {
      vertices[i]->position = narrow(position(i));
      vertices[i]->velocity = narrow(velocity(i));
    }
    for (std::size_t i = 0; i < n; ++i) acceleration[i] = allPairsForce(layout, *vertices[i]).force;
  };
  const auto here = [&](std::size_t i) { return x[i]; };
  const auto now = [&](std::size_t i) { return v[i]; };
  State state;
  at(here, now, a1);
  if (rungeKutta) {
    const auto half = [&](std::size_t i) { return x[i] + h / 2 * v[i] + h * h / 8 * a1[i]; };
    at(
        half, [&](std::size_t i) { return v[i] + h / 2 * a1[i]; }, a2);
    at(
        half, [&](std::size_t i) { return v[i] + h / 2 * a2[i]; }, a3);
    at([&](std::size_t i) { return x[i] + h * v[i] + h * h / 2 * a3[i]; },
       [&](std::size_t i) { return v[i] + h * a3[i]; }, a4);
  }
  for (std::size_t i = 0; i < n; ++i) {
    const Exact velocity = rungeKutta ? v[i] + h / 6 * (a1[i] + 2.0 * a2[i] + 2.0 * a3[i] + a4[i]) : v[i] + h * a1[i];
    const Exact position = rungeKutta ? x[i] + h * v[i] + h * h / 6 * (a1[i] + a2[i] + a3[i]) : x[i] + h * velocity;
    state.positions.push_back(narrow(position));
    state.velocities.push_back(narrow(velocity));
    vertices[i]->position = narrow(x[i]);
    vertices[i]->velocity = narrow(v[i]);
  }
  return state;
}

TEST(Step, allFourFollowAllPairsWithinTheOpeningTest) {
  for (const bool parallel : {false, true}) {
    for (const bool rungeKutta : {false, true}) {
      SCOPED_TRACE(testing::Message() << (parallel ? "parallel " : "serial ")
                                      << (rungeKutta ? "Runge-Kutta" : "Euler"));
      std::mt19937 random(43);
      TestLayout layout;
      layout.parallel = parallel;
      layout.use_runge_kutta = rungeKutta;
      const auto vertices = fillRandomly(layout, 600, random);
      const State expected = allPairsStep(layout, vertices, rungeKutta, 1.0);
      layout.step(1.0F);
      State actual;
      for (auto* vertex : vertices) {
        actual.positions.push_back(vertex->position);
        actual.velocities.push_back(vertex->velocity);
      }
      // The repulsion of 600 vertices sums up to about 1, and the tree is good to a hundredth of it.
      EXPECT_LT(largestDifference(actual, expected), 0.02F);
    }
  }
}

TEST(Step, shrinksWhileForcesAreCappedAndRecoversSlowly) {
  TestLayout layout;
  auto* vertex = layout.add({0, 0, 0});
  for (const bool parallel : {false, true}) {
    layout.parallel = parallel;
    layout.step_scale = 1;
    vertex->velocity = vertex->start.velocity = {100, 0, 0};
    layout.step();
    EXPECT_FLOAT_EQ(layout.step_scale, 0.8F);
    vertex->velocity = vertex->start.velocity = {};
    layout.step();
    EXPECT_NEAR(layout.step_scale, 0.80002F, 2e-6F);
  }
}

TEST(Step, aChangeFromOutsideReachesTheStartOfTheNextStep) {
  for (const bool parallel : {false, true}) {
    TestLayout layout;
    layout.parallel = parallel;
    auto* vertex = layout.add({0, 0, 0});
    layout.friction = 0;
    layout.step(1);
    vertex->velocity = {1, 0, 0};
    layout.step(1);
    EXPECT_EQ(vertex->position[0], 0.0F) << "the step begins at start";
    vertex->velocity = {1, 0, 0};
    layout.startStateValid = false;
    layout.step(1);
    EXPECT_EQ(vertex->position[0], 1.0F);
    EXPECT_TRUE(layout.startStateValid);
  }
}

/// Stands for the picture: runs beside the workers on the stepping thread.
class Picture : public Layout::GraphLayoutTask {
public:
  explicit Picture(std::function<void()> drawing) : GraphLayoutTask(nullptr), draw(std::move(drawing)) {}
  void run() override { draw(); }

private:
  std::function<void()> draw;
};

TEST(Step, thePictureSeesTheLastFinishedStateHoweverFastTheWorkersAre) {
  for (const bool rungeKutta : {true, false}) {
    std::mt19937 random(47);
    TestLayout layout;
    layout.use_runge_kutta = rungeKutta;
    layout.processorCount = 4;
    const auto vertices = fillRandomly(layout, 300, random);
    for (int frame = 0; frame < 5; ++frame) {
      std::vector<PointParticleState<float, 3>> before;
      std::vector<Vector> accelerations;
      for (auto* vertex : vertices) {
        before.push_back(*vertex);
        accelerations.push_back(vertex->finishedAcceleration);
      }
      Picture picture([&] {
        for (int look = 0; look < 2; ++look) {
          for (std::size_t i = 0; i < vertices.size(); ++i) {
            const auto& state = layout.drawnState(*vertices[i]);
            EXPECT_EQ(state.position, before[i].position);
            EXPECT_EQ(state.velocity, before[i].velocity);
            EXPECT_EQ(vertices[i]->finishedAcceleration, accelerations[i]);
            for (auto* edge : vertices[i]->outEdges) {
              EXPECT_FALSE(edge->hasKnots);
              EXPECT_NE(layout.drawnState(*edge->target).position, state.position);
            }
          }
          std::this_thread::sleep_for(std::chrono::milliseconds(30));
        }
      });
      if (rungeKutta) {
        layout.parallelStep2<Layout::LayoutTask_RungeKutta>(1.0F, &picture);
      } else {
        layout.parallelStep2<Layout::LayoutTask_Euler>(1.0F, &picture);
      }
      float moved = 0;
      for (std::size_t i = 0; i < vertices.size(); ++i) {
        moved = std::max(moved, length(layout.drawnState(*vertices[i]).position - before[i].position));
        EXPECT_EQ(vertices[i]->finishedAcceleration, vertices[i]->acceleration);
        EXPECT_EQ(vertices[i]->force, Vector());
      }
      EXPECT_GT(moved, 0.0F);
    }
  }
}

TEST(Step, badNumbersNeverStopIt) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  for (const bool parallel : {false, true}) {
    for (const bool rungeKutta : {false, true}) {
      SCOPED_TRACE(testing::Message() << (parallel ? "parallel " : "serial ")
                                      << (rungeKutta ? "Runge-Kutta" : "Euler"));
      std::mt19937 random(53);
      TestLayout layout;
      layout.parallel = parallel;
      layout.use_runge_kutta = rungeKutta;
      fillRandomly(layout, 100, random);
      auto* outside = layout.add({3000, 0, 0});
      auto* unknown = layout.add({nan, 0, 0});
      for (int i = 0; i < 9; ++i) layout.add({1, 1, 1});
      const Captured errors(std::cerr);
      const Captured lines(std::cout);
      layout.step();
      const auto count = [](const std::string& text, const std::string& part) {
        std::size_t found = 0;
        for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++found;
        return found;
      };
      const std::size_t builds = rungeKutta && !parallel ? 4 : 1;
      EXPECT_EQ(count(errors.text(), "Particle position not finite or outside root box: ["), 2 * builds);
      EXPECT_EQ(count(errors.text(), "Particle position not finite or outside root box: [nan,0,0]\n"), builds);
      if (parallel) {
        EXPECT_EQ(count(errors.text(), "@@ totalVertices=109, numVertices()=111\n"), 1U);
        EXPECT_EQ(count(errors.text(), "**** WARNING: totalVertices != numVertices\n"), 1U);
        EXPECT_EQ(lines.text(), "totalVertices=100, numVertices()=111\n") << "the nine that coincide were dropped";
        EXPECT_EQ(outside->position, Vector(3000, 0, 0)) << "what is not in the tree stays";
      } else {
        EXPECT_EQ(count(errors.text(), "@@ Warning: forces on vertex are "), builds);
        EXPECT_EQ(lines.text(), "");
        EXPECT_GT(outside->velocity[0], 0.0F) << "a vertex out of the box is still repelled";
      }
      EXPECT_TRUE(std::isnan(unknown->position[0]));
      for (auto* vertex : layout.vertices) {
        EXPECT_TRUE(vertex == unknown || (isFinite(vertex->position) && isFinite(vertex->velocity)));
      }
    }
  }
}

}  // namespace
}  // namespace quorel
