#include "animator/FrameStatistics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace quorel {
namespace {

using Vector = TinyVector<float, 3>;

/// The moments of some points, and the camera's statistics as they follow them.
struct Statistics {
  explicit Statistics(const std::vector<Vector>& points, int frames = 0) {
    FrameMoments moments(covariance, mean);
    for (const Vector& p : points) moments.add(p);
    moments.finish();
    for (int i = 0; i < frames; ++i) {
      smoothAxes(axes, eigenvalues, covariance);
      smoothCentroid(centroid, mean);
    }
  }

  float covariance[3][3];
  Vector mean;
  float axes[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  Vector eigenvalues{1.0F, 1.0F, 1.0F};
  Vector centroid{1.0F, -2.0F, 0.0F};
};

TEST(FrameStatistics, momentsAgreeWithTheTwoPassFormula) {
  constexpr unsigned seed = 11;
  std::mt19937 random(seed);
  std::normal_distribution<float> coordinate(0.0F, 2.0F);
  std::vector<Vector> points;
  for (int i = 0; i < 500; ++i) points.emplace_back(coordinate(random) + 3.0F, coordinate(random), coordinate(random));
  const Statistics s(points);

  double mean[3] = {};
  for (const Vector& p : points) {
    for (int i = 0; i < 3; ++i) mean[i] += p[i] / 500.0;
  }
  for (int i = 0; i < 3; ++i) {
    EXPECT_NEAR(s.mean[i], mean[i], 1e-4) << "seed " << seed;
    for (int j = 0; j < 3; ++j) {
      double expected = 0.0;
      for (const Vector& p : points) expected += (p[i] - mean[i]) * (p[j] - mean[j]) / 500.0;
      EXPECT_NEAR(s.covariance[i][j], expected, 2e-3) << i << j << " seed " << seed;
    }
  }
}

TEST(FrameStatistics, withoutVerticesTheCentroidGoesHomeAndWithOneTheExtentsDecay) {
  const Statistics none({}, 100);
  EXPECT_EQ(none.covariance[0][0], 0.0F);
  EXPECT_NEAR(none.centroid[0], std::pow(0.99, 100), 1e-4);
  EXPECT_NEAR(Statistics({Vector(5, 6, 7)}, 1).eigenvalues[2], 0.95, 1e-3);
  EXPECT_NEAR(Statistics({Vector(5, 6, 7)}, 300).eigenvalues[2], 0.0, 1e-3);
}

TEST(FrameStatistics, twoVerticesHaveAQuarterOfTheirSquaredDistanceAsLargestEigenvalue) {
  for (const Vector& d : {Vector(3, 0, 0), Vector(0, 0, -3), Vector(1, 2, -2)}) {
    const Statistics s({Vector(), d}, 300);
    EXPECT_NEAR(s.eigenvalues[2], 9.0 / 4.0, 1e-3) << d;
    EXPECT_NEAR(s.eigenvalues[0], 0.0, 1e-3) << d;
    // The last axis lies along the two.
    const double along = (s.axes[0][2] * d[0] + s.axes[1][2] * d[1] + s.axes[2][2] * d[2]) / 3.0;
    EXPECT_NEAR(std::abs(along), 1.0, 1e-3) << d;
  }
}

TEST(FrameStatistics, aVertexWithoutAPositionLeavesTheCameraWhereItWas) {
  for (const float bad : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(), 1e30F}) {
    const Statistics s({Vector(1, 2, 3), Vector(bad, bad, 0)}, 2);
    EXPECT_EQ(s.eigenvalues, Vector(1, 1, 1)) << bad;
    EXPECT_EQ(s.axes[0][0], 1.0F) << bad;
    EXPECT_TRUE(isFinite(s.centroid)) << bad;
  }
}

}  // namespace
}  // namespace quorel
