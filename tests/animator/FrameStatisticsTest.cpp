#include "animator/FrameStatistics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace quorel {
namespace {

using Vector = TinyVector<float, 3>;

constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();

struct Moments {
  float covariance[3][3];
  Vector mean;
};

Moments momentsOf(const std::vector<Vector>& points) {
  Moments m;
  FrameMoments moments(m.covariance, m.mean);
  for (const Vector& p : points) moments.add(p);
  moments.finish();
  return m;
}

struct Axes {
  float axes[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  Vector eigenvalues{1.0F, 1.0F, 1.0F};

  void follow(const Moments& m, int frames) {
    for (int i = 0; i < frames; ++i) smoothAxes(axes, eigenvalues, m.covariance);
  }
};

TEST(FrameStatistics, momentsAgreeWithTheTwoPassFormula) {
  constexpr unsigned seed = 11;
  std::mt19937 random(seed);
  std::normal_distribution<float> coordinate(0.0F, 2.0F);
  std::vector<Vector> points;
  for (int i = 0; i < 500; ++i) points.emplace_back(coordinate(random) + 3.0F, coordinate(random), coordinate(random));
  const Moments m = momentsOf(points);

  double mean[3] = {};
  for (const Vector& p : points) {
    for (int i = 0; i < 3; ++i) mean[i] += p[i] / 500.0;
  }
  for (int i = 0; i < 3; ++i) {
    EXPECT_NEAR(m.mean[i], mean[i], 1e-4) << "seed " << seed;
    for (int j = 0; j < 3; ++j) {
      double expected = 0.0;
      for (const Vector& p : points) expected += (p[i] - mean[i]) * (p[j] - mean[j]) / 500.0;
      EXPECT_NEAR(m.covariance[i][j], expected, 2e-3) << i << j << " seed " << seed;
    }
  }
}

TEST(FrameStatistics, withoutVerticesAllSumsStayZeroAndTheCentroidGoesHome) {
  const Moments m = momentsOf({});
  EXPECT_EQ(m.covariance[0][0], 0.0F);
  Vector centroid(1.0F, -2.0F, 0.0F);
  for (int i = 0; i < 100; ++i) smoothCentroid(centroid, m.mean);
  EXPECT_NEAR(centroid[0], std::pow(0.99, 100), 1e-4);
}

TEST(FrameStatistics, twoVerticesHaveAQuarterOfTheirSquaredDistanceAsLargestEigenvalue) {
  for (const Vector& d : {Vector(3, 0, 0), Vector(0, 0, -3), Vector(1, 2, -2)}) {
    Axes a;
    a.follow(momentsOf({Vector(), d}), 300);
    EXPECT_NEAR(a.eigenvalues[2], 9.0 / 4.0, 1e-3) << d;
    EXPECT_NEAR(a.eigenvalues[0], 0.0, 1e-3) << d;
    // The last axis lies along the two.
    const double along = (a.axes[0][2] * d[0] + a.axes[1][2] * d[1] + a.axes[2][2] * d[2]) / 3.0;
    EXPECT_NEAR(std::abs(along), 1.0, 1e-3) << d;
  }
}

TEST(FrameStatistics, oneVertexLetsTheEigenvaluesDecay) {
  Axes a;
  a.follow(momentsOf({Vector(5, 6, 7)}), 1);
  EXPECT_NEAR(a.eigenvalues[2], 0.95, 1e-3);
  a.follow(momentsOf({Vector(5, 6, 7)}), 300);
  EXPECT_NEAR(a.eigenvalues[2], 0.0, 1e-3);
}

TEST(FrameStatistics, aVertexWithoutAPositionLeavesTheCameraWhereItWas) {
  for (const Vector& bad :
       {Vector(notANumber, 0, 0), Vector(std::numeric_limits<float>::infinity(), 0, 0), Vector(1e30F, 1e30F, 0)}) {
    const Moments m = momentsOf({Vector(1, 2, 3), bad});
    Axes a;
    a.follow(m, 2);
    EXPECT_EQ(a.eigenvalues, Vector(1, 1, 1)) << bad;
    EXPECT_EQ(a.axes[0][0], 1.0F) << bad;
    Vector centroid(1, 1, 1);
    smoothCentroid(centroid, m.mean);
    EXPECT_TRUE(isFinite(centroid)) << bad;
  }
}

}  // namespace
}  // namespace quorel
