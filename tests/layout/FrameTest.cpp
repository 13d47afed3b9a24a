#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <sstream>

#include "layout/DynamicFrame.h"
#include "layout/LayoutTesting.h"
#include "layout/SymmetricEigen.h"

namespace quorel {
namespace {

TEST(TinyVector, isWrittenWithoutBlanksInTheStreamsFormat) {
  std::ostringstream out;
  out << Vector(1, 2, 3) << Vector(0.1F, -1e30F, std::numeric_limits<float>::quiet_NaN());
  EXPECT_EQ(out.str(), "[1,2,3][0.1,-1e+30,nan]");
}

DynamicFrame<double> randomFrame(std::mt19937& random) {
  std::uniform_real_distribution<double> entry(-1, 1);
  DynamicFrame<double> frame;
  for (auto* matrix : {&frame.m0, &frame.m1, &frame.m2}) {
    for (auto& row : *matrix) {
      for (double& element : row) element = entry(random);
    }
  }
  for (auto* vector : {&frame.c0, &frame.c1, &frame.c2}) *vector = {entry(random), entry(random), entry(random)};
  return frame;
}

/// The map at time t, to second order.
Exact at(const DynamicFrame<double>& frame, double t, const Exact& p) {
  DynamicFrame<double> moved = frame;
  for (std::size_t i = 0; i < 3; ++i) {
    for (std::size_t j = 0; j < 3; ++j) moved.m0[i][j] += t * frame.m1[i][j] + t * t / 2 * frame.m2[i][j];
    moved.c0[i] += t * frame.c1[i] + t * t / 2 * frame.c2[i];
  }
  return moved(p);
}

TEST(DynamicFrame, compositionHasTheDerivativesOfTheComposedMap) {
  std::mt19937 random = seeded(3);
  for (int i = 0; i < 20; ++i) {
    const DynamicFrame<double> a = randomFrame(random);
    const DynamicFrame<double> b = randomFrame(random);
    const DynamicFrame<double> both(a, b);
    const Exact p(0.3, -0.7, 1.1);
    // Third-order remainders are all that may differ.
    for (const double t : {0.0, 0.001, -0.001}) {
      EXPECT_LT(length(at(both, t, p) - at(b, t, at(a, t, p))), 1e-7);
    }
  }
}

TEST(SymmetricEigen, findsOrthonormalEigenvectorsInAscendingOrder) {
  std::mt19937 random = seeded(5);
  std::uniform_real_distribution<float> entry(-2, 2);
  for (int kind = 0; kind < 200; ++kind) {
    float a[3][3];
    for (int i = 0; i < 3; ++i) {
      for (int j = i; j < 3; ++j) a[i][j] = a[j][i] = entry(random);
    }
    // Diagonal, singular and degenerate matrices among them.
    if (kind % 4 == 1) a[0][1] = a[1][0] = a[0][2] = a[2][0] = a[1][2] = a[2][1] = 0;
    if (kind % 4 == 2) {
      for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) a[i][j] = a[i][0] * a[j][0];
      }
      a[0][0] = a[0][0] < 0 ? -a[0][0] : a[0][0];
      for (int i = 0; i < 3; ++i) a[i][i] += 1;
      for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < i; ++j) a[i][j] = a[j][i];
      }
    }
    float v[3][3];
    float d[3];
    float e[3];
    std::copy(&a[0][0], &a[0][0] + 9, &v[0][0]);
    tred2(v, d, e);
    tql2(v, d, e);
    EXPECT_LE(d[0], d[1]);
    EXPECT_LE(d[1], d[2]);
    for (int column = 0; column < 3; ++column) {
      for (int row = 0; row < 3; ++row) {
        float product = 0;
        float inner = 0;
        for (int k = 0; k < 3; ++k) {
          product += a[row][k] * v[k][column];
          inner += v[k][row] * v[k][column];
        }
        EXPECT_NEAR(product, d[column] * v[row][column], 2e-5F);
        EXPECT_NEAR(inner, row == column ? 1.0F : 0.0F, 2e-5F);
      }
    }
  }
}

TEST(SymmetricEigen, passesBadNumbersOnAndEnds) {
  for (const float bad : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
    for (int where = 0; where < 9; ++where) {
      float v[3][3] = {{1, 2, 3}, {2, 5, 6}, {3, 6, 9}};
      v[where / 3][where % 3] = v[where % 3][where / 3] = bad;
      float d[3];
      float e[3];
      tred2(v, d, e);
      tql2(v, d, e);
      bool anyNaN = false;
      for (const auto& row : v) {
        for (const float element : row) anyNaN = anyNaN || std::isnan(element);
      }
      EXPECT_TRUE(anyNaN) << "the animator drops a frame by this";
    }
  }
  float zero[3][3] = {};
  float d[3];
  float e[3];
  tred2(zero, d, e);
  tql2(zero, d, e);
  EXPECT_EQ(d[0], 0.0F);
  EXPECT_EQ(d[2], 0.0F);
}

}  // namespace
}  // namespace quorel
