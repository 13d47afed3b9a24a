#include "animator/FrameDecisions.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <tuple>
#include <utility>
#include <vector>

#include "animator/Camera.h"
#include "animator/FrameStatistics.h"
#include "animator/LabelFont.h"
#include "animator/VertexGeometry.h"

namespace quorel {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

TEST(FrameDecisions, aGraphStepsUnlessItIsPausedEmptyOrSettled) {
  EXPECT_TRUE(decideStep(false, 9.99, 1));
  EXPECT_FALSE(decideStep(true, 0.0, 1));
  EXPECT_FALSE(decideStep(false, 10.0, 1));
  EXPECT_FALSE(decideStep(false, 0.0, 0));
}

TEST(FrameDecisions, threeStillFramesAfterAResetLetTheSettleTimerRun) {
  double stillness = 0.0;
  int frames = 0;
  for (; !isStill(stillness) && frames < 100; ++frames) stillness = filterStillness(stillness, 0.049);
  EXPECT_EQ(frames, 3);

  // However long it has been still, a graph that moves again is awake within a second at 50 frames.
  stillness = 1.0;
  for (frames = 0; isStill(stillness) && frames < 100; ++frames) stillness = filterStillness(stillness, 0.05);
  EXPECT_LT(frames, 50);
  EXPECT_FALSE(isStill(notANumber));
}

TEST(FrameDecisions, idleNeedsStillnessNoInputAndNoGlideAllAtOnce) {
  EXPECT_FALSE(isLongStill(1.0, 0)) << "an empty graph waits less";
  EXPECT_TRUE(isLongStill(1.01, 0));
  EXPECT_FALSE(isLongStill(10.0, 1));
  EXPECT_TRUE(isLongStill(10.01, 1));

  EXPECT_TRUE(decideIdle(0.0, 0.0, 0.0, 2.01, true));
  EXPECT_TRUE(decideIdle(0.0, 0.0, 0.01, 2.01, true)) << "a glide that has died away";
  EXPECT_FALSE(decideIdle(0.5, 0.0, 0.0, 2.01, true));
  EXPECT_FALSE(decideIdle(0.0, -0.5, 0.0, 2.01, true));
  EXPECT_FALSE(decideIdle(0.0, 0.0, -0.02, 2.01, true));
  EXPECT_FALSE(decideIdle(0.0, 0.0, 0.0, 2.0, true));
  EXPECT_FALSE(decideIdle(0.0, 0.0, 0.0, 2.01, false));
}

TEST(FrameDecisions, detailFollowsTheFrameRateWithinFiveToForty) {
  for (const auto& [fps, expected] : {std::pair{0.0, 5.0}, {5.0, 5.0}, {23.0, 23.0}, {40.0, 40.0}, {infinity, 40.0}}) {
    double detail = 10.0;
    for (int i = 0; i < 3000; ++i) detail = filterDetail(detail, fps);
    EXPECT_NEAR(detail, expected, 1e-6) << fps;
  }
}

TEST(FrameDecisions, onlyAFrameThatDoesNotStepIsSleptOut) {
  EXPECT_EQ(pacingMilliseconds(false, 3.2), 16);
  EXPECT_EQ(pacingMilliseconds(false, 20.5), 0);
  EXPECT_EQ(pacingMilliseconds(true, 3.2), 0);
}

TEST(VertexGeometry, shapedetailOverridesTheAverageAndBothStayWithinFiveToForty) {
  EXPECT_EQ(solidDetail(0, false, 10.4), 10);
  EXPECT_EQ(solidDetail(0, false, 10.5), 11);
  EXPECT_EQ(solidDetail(0, false, 2.0), 5);
  EXPECT_EQ(solidDetail(0, true, 10.0), 40);
  EXPECT_EQ(solidDetail(17, true, 10.0), 17);
  EXPECT_EQ(solidDetail(100, false, 10.0), 40);
}

TEST(LabelFont, eachFamilyHasTheNearestOfItsSizes) {
  for (const auto& [family, size, font] : {std::tuple{"Times Roman", 18, LabelFont::timesRoman10},
                                           {"Times Roman", 19, LabelFont::timesRoman24},
                                           {"Helvetica", 10, LabelFont::helvetica10},
                                           {"Helvetica", 11, LabelFont::helvetica12},
                                           {"Helvetica", 12, LabelFont::helvetica12},
                                           {"Helvetica", 13, LabelFont::helvetica18},
                                           {"times roman", 24, LabelFont::helvetica18},
                                           {"", 1, LabelFont::helvetica10}}) {
    EXPECT_EQ(chooseFont(family, size), font) << family << ' ' << size;
  }
}

TEST(Camera, aZoomGlideMovesTheCameraByAboutItsVelocityAndDiesAway) {
  double dist = -3.0;
  double velocity = -10.0;
  for (int i = 0; i < 200; ++i) glideZoom(dist, velocity);
  EXPECT_NEAR(dist, -13.0, 0.01);
  EXPECT_NEAR(velocity, 0.0, 1e-6);
}

TEST(Camera, aSpinAboutTheVerticalTurnsTwiceAsFast) {
  double y = 10.0;
  double z = 20.0;
  spinView(y, z, 0.5, -1.0, 2.0);
  EXPECT_DOUBLE_EQ(y, 12.0);
  EXPECT_DOUBLE_EQ(z, 18.0);
}

TEST(Camera, autozoomTakesTheSameTimeAtAnyFrameRateAndSurvivesStrangeNumbers) {
  for (const int fps : {7, 20, 60}) {
    double dist = 0.0;
    for (int i = 0; i < fps; ++i) dist = approachAutozoom(dist, fps, 4.0);
    EXPECT_NEAR(dist, -5.0 * (1.0 - std::pow(0.95, 20)), 1e-9) << fps;
  }
  EXPECT_DOUBLE_EQ(approachAutozoom(-1.0, 0.0, 4.0), -5.0) << "the first frames have no rate yet";
  EXPECT_DOUBLE_EQ(approachAutozoom(-1.0, infinity, 4.0), -1.0);
  EXPECT_DOUBLE_EQ(approachAutozoom(-1.0, 20.0, notANumber), -1.0);
  EXPECT_DOUBLE_EQ(approachAutozoom(-1.0, 20.0, -1e-9), -0.95) << "rounding below zero is zero";
}

TEST(Camera, aDragAcrossTheViewportTurnsTheViewOnce) {
  double x = 0.0;
  double y = 0.0;
  dragView(x, y, 800, 300, 800, 600);
  EXPECT_NEAR(y, -360.0, 1e-3);
  EXPECT_NEAR(x, 180.0, 1e-3);
  dragView(x, y, 5, 5, 0, 0);
  EXPECT_TRUE(std::isfinite(x) && std::isfinite(y)) << "a window of no size";
}

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

TEST(FrameStatistics, centroidAndExtentsFollowNoneOneAndTwoVertices) {
  const Statistics none({}, 100);
  EXPECT_EQ(none.covariance[0][0], 0.0F);
  EXPECT_NEAR(none.centroid[0], std::pow(0.99, 100), 1e-4);
  EXPECT_NEAR(Statistics({Vector(5, 6, 7)}, 1).eigenvalues[2], 0.95, 1e-3);
  EXPECT_NEAR(Statistics({Vector(5, 6, 7)}, 300).eigenvalues[2], 0.0, 1e-3);
  EXPECT_NEAR(Statistics({Vector(), Vector(1, 2, -2)}, 300).eigenvalues[2], 9.0 / 4.0, 1e-3);
}

TEST(FrameStatistics, aVertexWithoutAPositionLeavesTheCameraWhereItWas) {
  for (const float bad : {NAN, INFINITY, 1e30F}) {
    const Statistics s({Vector(1, 2, 3), Vector(bad, bad, 0)}, 2);
    EXPECT_EQ(s.eigenvalues, Vector(1, 1, 1)) << bad;
    EXPECT_EQ(s.axes[0][0], 1.0F) << bad;
    EXPECT_TRUE(isFinite(s.centroid)) << bad;
  }
}

}  // namespace
}  // namespace quorel
