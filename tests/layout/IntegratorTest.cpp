#include <gtest/gtest.h>

#include <cmath>

#include "layout/LayoutTesting.h"

namespace quorel {
namespace {

struct Means {
  bool parallel;
  bool rungeKutta;
};

class EveryStep : public testing::TestWithParam<Means> {
protected:
  void SetUp() override {
    layout.parallel = GetParam().parallel;
    layout.use_runge_kutta = GetParam().rungeKutta;
  }

  TestLayout layout;
};

INSTANTIATE_TEST_SUITE_P(Means, EveryStep,
                         testing::Values(Means{false, false}, Means{false, true}, Means{true, false},
                                         Means{true, true}),
                         [](const auto& about) {
                           return std::string(about.param.parallel ? "parallel" : "serial") +
                                  (about.param.rungeKutta ? "RungeKutta" : "Euler");
                         });

TEST_P(EveryStep, aFreeParticleGoesStraightOn) {
  layout.friction = 0;
  auto* vertex = layout.add({1, 2, 3});
  vertex->velocity = {0.5F, -0.25F, 0.125F};
  layout.step(2.0F);
  for (std::size_t axis = 0; axis < 3; ++axis) {
    EXPECT_NEAR(vertex->position[axis], Vector(2, 1.5F, 3.25F)[axis], 1e-6F);
  }
  EXPECT_EQ(vertex->force, Vector());
  if (layout.use_runge_kutta) {
    EXPECT_EQ(vertex->start.position, vertex->position);
    EXPECT_EQ(vertex->start.velocity, vertex->velocity);
  }
}

TEST_P(EveryStep, twoVerticesOnASpringComeToRestWhereTheFormulasBalance) {
  auto* a = layout.add({0.3F, 0, 0});
  auto* b = layout.add({-0.3F, 0.1F, 0});
  layout.join(a, b);
  for (int i = 0; i < 1500; ++i) layout.step();
  EXPECT_NEAR(length(a->position - b->position), 0.75F, 0.002F);
  EXPECT_LT(length(a->velocity), 1e-4F);
}

TEST_P(EveryStep, anEmptyGraphStepsWithoutAWord) {
  const Captured errors(std::cerr);
  layout.step();
  EXPECT_EQ(errors.text(), "");
}

/// A damped spring without repulsion, which has an exact solution: the largest error of a run to the given time.
double errorOfStep(bool parallel, bool rungeKutta, float h) {
  TestLayout layout;
  layout.parallel = parallel;
  layout.use_runge_kutta = rungeKutta;
  auto* a = layout.add({1, 0, 0});
  auto* b = layout.add({-1, 0, 0});
  a->style.set_charge(0);
  b->style.set_charge(0);
  layout.join(a, b);
  constexpr double duration = 48;
  for (int i = 0; i < static_cast<int>(duration / h); ++i) layout.step(h);
  // The distance obeys d'' + f d' + 2 k d = 0.
  const double k = 0.01 / (0.75 * 0.8 * 0.8);
  const double decay = layout.friction / 2.0;
  const double omega = std::sqrt(2 * k - decay * decay);
  const double expected =
      std::exp(-decay * duration) * 2 * (std::cos(omega * duration) + decay / omega * std::sin(omega * duration));
  return std::abs((a->position - b->position)[0] - expected);
}

TEST(Integrator, halvingTheStepDividesTheErrorByItsOrder) {
  for (const bool parallel : {false, true}) {
    const double coarse = errorOfStep(parallel, true, 4.0F);
    const double fine = errorOfStep(parallel, true, 2.0F);
    EXPECT_GT(coarse / fine, 11.0) << "fourth order";
    EXPECT_LT(coarse / fine, 25.0);
    const double eulerCoarse = errorOfStep(parallel, false, 0.5F);
    const double eulerFine = errorOfStep(parallel, false, 0.25F);
    EXPECT_GT(eulerCoarse / eulerFine, 1.7) << "first order";
    EXPECT_LT(eulerCoarse / eulerFine, 2.4);
    EXPECT_LT(fine, eulerFine);
  }
}

}  // namespace
}  // namespace quorel
