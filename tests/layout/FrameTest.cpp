#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <sstream>

#include "layout/DynamicFrame.h"
#include "layout/LayoutTesting.h"
#include "layout/SymmetricEigen.h"

namespace quorel {
namespace {

TEST(TinyVector, isWrittenWithoutBlanksInTheStreamsFormat) {
  std::ostringstream out;
  out << Vector(1, 2, 3) << Vector(0.1F, -1e30F, NAN);
  EXPECT_EQ(out.str(), "[1,2,3][0.1,-1e+30,nan]");
}

using Frame = DynamicFrame<double>;

/// Where the map has moved a point to at time t, to second order.
Exact at(const Frame& frame, double t, const Exact& p) {
  Frame velocity, acceleration;
  velocity.m0 = frame.m1;
  velocity.c0 = frame.c1;
  acceleration.m0 = frame.m2;
  acceleration.c0 = frame.c2;
  return frame(p) + t * velocity(p) + t * t / 2 * acceleration(p);
}

TEST(DynamicFrame, compositionHasTheDerivativesOfTheComposedMap) {
  std::mt19937 random = seeded(3);
  Frame a, b;
  for (Frame* frame : {&a, &b}) {
    for (auto* matrix : {&frame->m0, &frame->m1, &frame->m2}) {
      for (auto& row : *matrix) std::ranges::generate(row, [&] { return randomVector(random, 2)[0]; });
    }
    for (auto* vector : {&frame->c0, &frame->c1, &frame->c2}) *vector = exact(randomVector(random, 2));
  }
  const Exact p(0.3, -0.7, 1.1);
  // Third-order remainders are all that may differ.
  for (const double t : {0.0, 0.001, -0.001}) EXPECT_LT(length(at(Frame(a, b), t, p) - at(b, t, at(a, t, p))), 1e-7);
}

TEST(SymmetricEigen, findsOrthonormalEigenvectorsInAscendingOrderAndPassesBadNumbersOn) {
  std::mt19937 random = seeded(5);
  for (int kind = 0; kind < 280; ++kind) {
    // Diagonal, singular and degenerate matrices among them, nothing but zeros, and two with numbers that are none.
    const Vector u = randomVector(random, 4);
    float a[3][3];
    for (std::size_t i = 0; i < 3; ++i) {
      const Vector entry = randomVector(random, 4);
      for (std::size_t j = i; j < 3; ++j) {
        const float unit = i == j ? 1.0F : 0.0F;
        const float entries[] = {entry[j], unit * entry[j], u[i] * u[j], u[i] * u[j] + unit, 0, u[i], u[j]};
        a[i][j] = a[j][i] = entries[kind % 7];
      }
    }
    const bool bad = kind % 7 > 4;
    const int where = kind / 7 % 9;
    if (bad) a[where / 3][where % 3] = a[where % 3][where / 3] = kind % 2 == 0 ? NAN : INFINITY;
    float v[3][3], d[3], e[3];
    std::copy(&a[0][0], &a[0][0] + 9, &v[0][0]);
    tred2(v, d, e);
    tql2(v, d, e);
    if (bad) {
      EXPECT_TRUE(std::any_of(&v[0][0], &v[0][0] + 9, [](float element) { return std::isnan(element); }));
      continue;
    }
    EXPECT_TRUE(std::is_sorted(d, d + 3));
    for (int i = 0; i < 9; ++i) {
      const int row = i / 3;
      const int column = i % 3;
      float product = 0;
      float inner = 0;
      for (int k = 0; k < 3; ++k) {
        product += a[row][k] * v[k][column];
        inner += v[k][row] * v[k][column];
      }
      EXPECT_NEAR(product, d[column] * v[row][column], 4e-5F);
      EXPECT_NEAR(inner, row == column ? 1.0F : 0.0F, 2e-5F);
    }
  }
}

}  // namespace
}  // namespace quorel
