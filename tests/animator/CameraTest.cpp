#include "animator/Camera.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace quorel {
namespace {

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
  EXPECT_DOUBLE_EQ(approachAutozoom(-1.0, std::numeric_limits<double>::infinity(), 4.0), -1.0);
  EXPECT_DOUBLE_EQ(approachAutozoom(-1.0, 20.0, std::numeric_limits<double>::quiet_NaN()), -1.0);
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

TEST(Camera, aPressAgainstASpinStopsItAndFurtherOnesBuildUp) {
  EXPECT_EQ(pressSpin(1.5, -1), 0.0);
  EXPECT_EQ(pressSpin(pressSpin(0.0, -1), -1), -1.0);
  EXPECT_EQ(pressSpin(-1.0, 1), 0.0);
}

}  // namespace
}  // namespace quorel
