#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <numeric>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "layout/LayoutTesting.h"

namespace quorel {
namespace {

/// Of all four kinds.
class EveryStep : public testing::TestWithParam<std::tuple<bool, bool>> {
protected:
  EveryStep() { std::tie(layout.parallel, layout.use_runge_kutta) = GetParam(); }

  const bool parallel = std::get<0>(GetParam());
  const bool rungeKutta = std::get<1>(GetParam());
  TestLayout layout;
};

INSTANTIATE_TEST_SUITE_P(ParallelAndRungeKutta, EveryStep, testing::Combine(testing::Bool(), testing::Bool()));

using Vertices = std::vector<Layout::Vertex*>;
using States = std::vector<PointParticleState<float, 3>>;

States statesOf(const Vertices& vertices) {
  States states;
  for (const auto* vertex : vertices) states.push_back(*vertex);
  return states;
}

float largestDifference(const States& a, const States& b) {
  float largest = 0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    largest = std::max({largest, length(a[i].position - b[i].position), length(a[i].velocity - b[i].velocity)});
  }
  return largest;
}

struct Kind {
  bool parallel;
  bool rungeKutta;
  int processors = 3;
};

/// The states of a random graph with edges of all kinds after some steps of size h.
States statesAfter(int steps, float h, int vertexCount, double charge, Kind kind) {
  std::mt19937 random(41);
  TestLayout layout;
  layout.parallel = kind.parallel;
  layout.use_runge_kutta = kind.rungeKutta;
  layout.processorCount = kind.processors;
  layout.defaultVertexStyle.set_charge(charge);
  const Vertices vertices = fillRandomly(layout, vertexCount, random);
  varyEdges(layout.joined, random);
  layout.buildTree();
  testing::internal::CaptureStderr();
  for (int i = 0; i < steps; ++i) layout.step(h);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(layout.validate(), nullptr);
  for (auto* vertex : vertices) EXPECT_EQ(vertex->force, Vector());
  return statesOf(vertices);
}

TEST(Step, agreesWithTheOthersWithAnyNumberOfWorkersAndWithManyFineSteps) {
  for (const int n : {0, 1, 8, 600}) {
    const States euler = statesAfter(1, 2, n, 1, {false, false});
    // Without charges the age of the tree makes no difference.
    const States rungeKutta = statesAfter(1, 2, n, 0, {false, true});
    for (const int workers : {1, 2, 9, 40}) {
      EXPECT_LE(largestDifference(euler, statesAfter(1, 2, n, 1, {true, false, workers})), 1e-5F)
          << n << ' ' << workers;
      EXPECT_LE(largestDifference(rungeKutta, statesAfter(1, 2, n, 0, {true, true, workers})), 1e-5F)
          << n << ' ' << workers;
    }
  }
  // Many fine steps are the truth for a coarse one. With charges the parallel one keeps the summaries of its start, which are
  // good as long as little moves in a step.
  for (const int n : {8, 150}) {
    const States fine = statesAfter(500, 0.001F, n, 1, {false, false});
    for (const bool parallel : {false, true}) {
      EXPECT_LT(largestDifference(fine, statesAfter(1, 0.5F, n, 1, {parallel, true})), 0.002F) << n;
    }
  }
}

TEST_P(EveryStep, halvingItDividesTheErrorByItsOrder) {
  // A damped spring without repulsion, which has an exact solution: the distance obeys d'' + f d' + 2 k d = 0.
  const auto errorOfStep = [this](float h) {
    TestLayout spring;
    std::tie(spring.parallel, spring.use_runge_kutta) = GetParam();
    auto* a = spring.add({1, 0, 0});
    auto* b = spring.add({-1, 0, 0});
    a->style.set_charge(0);
    b->style.set_charge(0);
    spring.join(a, b);
    constexpr double duration = 48;
    for (int i = 0; i < static_cast<int>(duration / h); ++i) spring.step(h);
    const double decay = 0.125;
    const double omega = std::sqrt(2 * 0.01 / (0.75 * 0.8 * 0.8) - decay * decay);
    const double turn = omega * duration;
    const double expected = 2 * std::exp(-decay * duration) * (std::cos(turn) + decay / omega * std::sin(turn));
    return std::abs((a->position - b->position)[0] - expected);
  };
  const float h = rungeKutta ? 4.0F : 0.5F;
  const double quotient = errorOfStep(h) / errorOfStep(h / 2);
  EXPECT_GT(quotient, rungeKutta ? 11.0 : 1.7);
  EXPECT_LT(quotient, rungeKutta ? 25.0 : 2.4);
}

TEST_P(EveryStep, cutsALargeForceAndShrinksUntilNoneIsLeft) {
  auto* vertex = layout.add({0, 0, 0});
  // From outside, so that the step has to take it into its start.
  vertex->velocity = {60, 80, 0};
  layout.step();
  EXPECT_LT(length(vertex->acceleration - Vector(-6, -8, 0)), 1e-5F);
  EXPECT_LT(length(vertex->velocity - Vector(48, 64, 0)), 1e-4F);
  EXPECT_LT(length(vertex->position - (rungeKutta ? 1.8F : 1.6F) * Vector(60, 80, 0)), 1e-4F);
  EXPECT_FLOAT_EQ(layout.step_scale, 0.8F);
  layout.startStateValid = false;
  vertex->velocity = {};
  layout.step();
  EXPECT_EQ(vertex->velocity, Vector());
  EXPECT_NEAR(layout.step_scale, 0.80002F, 2e-6F);
  EXPECT_TRUE(layout.startStateValid || !rungeKutta);
}

TEST_P(EveryStep, isNeverStoppedByBadNumbers) {
  std::mt19937 random(53);
  auto* neighbour = fillRandomly(layout, 100, random).front();
  auto* outside = layout.add({3000, 0, 0});
  auto* unknown = layout.add({NAN, 0, 0});
  unknown->velocity = {INFINITY, 0, 0};
  layout.join(neighbour, unknown);
  for (int i = 0; i < 9; ++i) layout.add({1, 1, 1});
  testing::internal::CaptureStderr();
  testing::internal::CaptureStdout();
  layout.step();
  const std::string lines = testing::internal::GetCapturedStdout();
  const auto count = [text = testing::internal::GetCapturedStderr()](const std::string& part) {
    int found = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++found;
    return found;
  };
  const int evaluations = rungeKutta ? 4 : 1;
  const int builds = parallel ? 1 : evaluations;
  // Whether the neighbour's pull still reaches it depends on the order of their addresses.
  const int wrongForces = parallel ? evaluations : 2 * evaluations;
  const std::pair<const char*, int> expected[] = {
      {"Particle position not finite or outside root box: [3000", builds},
      {"Particle position not finite or outside root box: [nan,", builds},
      {"@@ Warning: forces on vertex are ", wrongForces},
      {"\n@@ position = ", wrongForces},
      {"@@ Warning: vertex at [nan,", parallel ? 0 : evaluations},
      {"@@ totalVertices=109, numVertices()=111\n", parallel ? 1 : 0},
      {"**** WARNING: totalVertices != numVertices\n", parallel ? 1 : 0},
  };
  for (const auto& [line, times] : expected) EXPECT_EQ(count(line), times) << line;
  // The depth limit may leave one of the nine that coincide: by how deep the tree was when the last of them came.
  EXPECT_THAT(lines, testing::MatchesRegex(parallel ? "totalVertices=10[01], numVertices\\(\\)=111\n" : ""));
  EXPECT_EQ(outside->position == Vector(3000, 0, 0), parallel) << "what is not in the tree stays";
  EXPECT_EQ(outside->velocity[0] > 0.0F, !parallel) << "a vertex out of the box is still repelled";
  for (auto* vertex : layout.vertices) {
    EXPECT_TRUE(vertex == unknown || (isFinite(vertex->position) && isFinite(vertex->velocity)));
  }
}

TEST(Split, makesChunksOfAboutEqualSize) {
  std::mt19937 random = seeded(19);
  for (const int n : {0, 1, 7, 39, 40, 41, 50, 100, 1000, 5000}) {
    TestLayout layout;
    fillRandomly(layout, n, random);
    Calculator calculator(layout.vertices.begin(), layout.vertices.end());
    for (const int chunkCount : {1, 2, 3, 7, 15, 60, 200}) {
      SCOPED_TRACE(testing::Message() << n << " vertices, " << chunkCount << " chunks");
      std::vector<Tree::Iterator> chunks(static_cast<std::size_t>(chunkCount));
      layout.splitSpacetree(calculator, chunks.data(), chunkCount);
      std::vector<int> sizes;
      for (const Tree::Iterator& chunk : chunks) {
        sizes.push_back(0);
        for (const auto& part : chunk.stack) sizes.back() += part.isParticle() ? 1 : part.node->count;
      }
      EXPECT_EQ(std::accumulate(sizes.begin(), sizes.end(), 0), n);
      EXPECT_TRUE(n >= 40 || sizes[0] == n) << "a small graph is one chunk";
      const int low = static_cast<int>(0.95 * n / chunkCount);
      const int high = std::max(static_cast<int>(1.05 * n / chunkCount), 40);
      for (std::size_t i = 0; i + 1 < sizes.size(); ++i) {
        EXPECT_LT(sizes[i], high);
        EXPECT_TRUE(sizes[i + 1] == 0 || sizes[i] >= low) << "all but the last that has anything are full";
      }
    }
  }
}

TEST(BlockShare, givesAJobEveryBlockOnceAndThoseOfItsOwnChunkFirst) {
  BlockShare share({{{0, 1}, {5, 500}}, {}, {{500, 20000}}, {{1, 5}, {20000, 20064}}});
  std::vector<int> taken(20064);
  std::uint32_t particles = 0;
  BlockShare::Range block{};
  while (share.take(3, block)) {
    EXPECT_TRUE(particles >= 68 || block.begin < 5 || block.begin >= 20000);
    EXPECT_LE(block.end - block.begin, BlockShare::blockSize);
    particles += block.end - block.begin;
    for (std::uint32_t i = block.begin; i < block.end; ++i) ++taken.at(i);
  }
  EXPECT_EQ(std::ranges::count(taken, 1), 20064);
}

/// Stands for the picture: runs beside the workers on the stepping thread.
class Picture : public Layout::GraphLayoutTask {
public:
  explicit Picture(std::function<void()> drawing) : GraphLayoutTask(nullptr), draw(std::move(drawing)) {}
  void run() override { draw(); }

private:
  std::function<void()> draw;
};

TEST(Step, showsThePictureTheLastFinishedStateHoweverFastTheWorkersAre) {
  for (const bool fourth : {true, false}) {
    std::mt19937 random(47);
    TestLayout layout;
    layout.use_runge_kutta = fourth;
    layout.processorCount = 4;
    const Vertices vertices = fillRandomly(layout, 300, random);
    const auto drawn = [&] {
      States states;
      for (const auto* vertex : vertices) {
        states.push_back(layout.drawnState(*vertex));
        states.push_back({vertex->finishedAcceleration, {}});
      }
      return states;
    };
    for (int frame = 0; frame < 5; ++frame) {
      const States before = drawn();
      Picture picture([&] {
        for (int look = 0; look < 2; ++look) {
          EXPECT_EQ(largestDifference(drawn(), before), 0.0F);
          std::this_thread::sleep_for(std::chrono::milliseconds(30));
        }
      });
      if (fourth) {
        layout.parallelStep2<Layout::LayoutTask_RungeKutta>(1.0F, &picture);
      } else {
        layout.parallelStep2<Layout::LayoutTask_Euler>(1.0F, &picture);
      }
      EXPECT_GT(largestDifference(drawn(), before), 0.0F);
      for (auto* vertex : vertices) {
        EXPECT_EQ(layout.drawnState(*vertex).position, vertex->position);
        EXPECT_EQ(vertex->finishedAcceleration, vertex->acceleration);
      }
    }
  }
}

}  // namespace
}  // namespace quorel
