#include "animator/FrameDecisions.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "animator/Camera.h"
#include "animator/FrameStatistics.h"
#include "animator/VertexGeometry.h"

namespace quorel {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

TEST(FrameDecisions, aGraphStepsUnlessItIsPausedEmptyOrSettledAndOnlyAFrameThatDoesNotIsSleptOut) {
  EXPECT_TRUE(decideStep(false, 9.99, 1));
  EXPECT_FALSE(decideStep(true, 0.0, 1));
  EXPECT_FALSE(decideStep(false, 10.0, 1));
  EXPECT_FALSE(decideStep(false, 0.0, 0));

  EXPECT_EQ(pacingMilliseconds(false, 3.2), 16);
  EXPECT_EQ(pacingMilliseconds(false, 20.5), 0);
  EXPECT_EQ(pacingMilliseconds(false, -3600e3), 20) << "the clock was set back";
  EXPECT_EQ(pacingMilliseconds(true, 3.2), 0);
}

TEST(FrameDecisions, threeStillFramesAfterAResetLetTheSettleTimerRun) {
  const auto framesUntil = [](bool still, double stillness, double speed) {
    int frames = 0;
    for (; isStill(stillness) != still && frames < 100; ++frames) stillness = filterStillness(stillness, speed);
    return frames;
  };
  EXPECT_EQ(framesUntil(true, 0.0, 0.049), 3);
  EXPECT_LT(framesUntil(false, 1.0, 0.05), 50) << "a graph that moves again is awake within a second at 50 frames";
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

TEST(VertexGeometry, shapedetailOverridesTheAverageAndBothStayWithinFiveToForty) {
  EXPECT_EQ(solidDetail(0, false, 10.4), 10);
  EXPECT_EQ(solidDetail(0, false, 10.5), 11);
  EXPECT_EQ(solidDetail(0, false, 2.0), 5);
  EXPECT_EQ(solidDetail(0, true, 10.0), 40);
  EXPECT_EQ(solidDetail(17, true, 10.0), 17);
  EXPECT_EQ(solidDetail(100, false, 10.0), 40);
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

using Vector = TinyVector<float, 3>;

/// The camera's statistics after some frames with the same points.
struct Statistics {
  static constexpr Vector firstCentroid = {1.0F, -2.0F, 0.0F};

  Statistics(const std::vector<Vector>& points, int frames) {
    for (int i = 0; i < frames; ++i) {
      FrameMoments moments(covariance, mean);
      for (const Vector& p : points) moments.add(p);
      moments.finish();
      smoothAxes(axes, eigenvalues, covariance);
      smoothCentroid(centroid, mean);
    }
  }

  float covariance[3][3];
  Vector mean;
  float axes[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  Vector eigenvalues{1.0F, 1.0F, 1.0F};
  Vector centroid = firstCentroid;
};

TEST(FrameStatistics, centroidAndExtentsFollowAnyNumberOfVertices) {
  std::vector<Vector> box;  // turned against all axes
  for (int corner = 0; corner < 8; ++corner) {
    const auto side = [corner](int bit) { return (corner & bit) != 0 ? 1.0F : -1.0F; };
    box.push_back(Vector(3, 0, -1) + side(1) * Vector(1, 2, 2) + side(2) * Vector(4, 2, -4) +
                  side(4) * Vector(1, -1, 0.5F));
  }
  const struct {
    std::vector<Vector> points;
    Vector mean, extents;
  } cases[] = {{{}, {}, {}},
               {{{5, 6, 7}}, {5, 6, 7}, {}},
               {{{0, 0, 0}, {1, 2, -2}}, {0.5F, 1, -1}, {0, 0, 2.25F}},
               {box, {3, 0, -1}, {2.25F, 9, 36}}};
  for (const auto& [points, mean, extents] : cases) {
    constexpr int frames = 20;
    const Statistics s(points, frames);
    const Vector centroidLeft = static_cast<float>(std::pow(0.99, frames)) * (Statistics::firstCentroid - mean);
    const Vector extentsLeft = static_cast<float>(std::pow(0.95, frames)) * (Vector(1, 1, 1) - extents);
    EXPECT_LT(length(s.centroid - mean - centroidLeft), 1e-4F) << points.size();
    EXPECT_LT(length(s.eigenvalues - extents - extentsLeft), 1e-4F) << points.size();
  }
}

}  // namespace
}  // namespace quorel
