#include "animator/FrameDecisions.h"

#include <gtest/gtest.h>

#include <limits>

#include "animator/LabelFont.h"
#include "animator/VertexGeometry.h"

namespace quorel {
namespace {

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
  EXPECT_FALSE(isStill(std::numeric_limits<double>::quiet_NaN()));
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
  constexpr double infinity = std::numeric_limits<double>::infinity();
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

}  // namespace
}  // namespace quorel
