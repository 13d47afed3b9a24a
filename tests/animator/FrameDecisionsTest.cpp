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
  while (!isStill(stillness) && frames < 100) {
    stillness = filterStillness(stillness, 0.049);
    ++frames;
  }
  EXPECT_EQ(frames, 3);

  // However long it has been still, a graph that moves again is awake within a second at 50 frames.
  stillness = 1.0;
  for (frames = 0; isStill(stillness) && frames < 100; ++frames) stillness = filterStillness(stillness, 0.05);
  EXPECT_LT(frames, 50);
  EXPECT_FALSE(isStill(std::numeric_limits<double>::quiet_NaN()));
}

TEST(FrameDecisions, anEmptyGraphCountsAsLongStillSooner) {
  EXPECT_FALSE(isLongStill(1.0, 0));
  EXPECT_TRUE(isLongStill(1.01, 0));
  EXPECT_FALSE(isLongStill(10.0, 1));
  EXPECT_TRUE(isLongStill(10.01, 1));
}

TEST(FrameDecisions, idleNeedsStillnessNoInputAndNoGlideAllAtOnce) {
  EXPECT_TRUE(decideIdle(0.0, 0.0, 0.0, 2.01, true));
  EXPECT_TRUE(decideIdle(0.0, 0.0, 0.01, 2.01, true)) << "a glide that has died away";
  EXPECT_FALSE(decideIdle(0.5, 0.0, 0.0, 2.01, true));
  EXPECT_FALSE(decideIdle(0.0, -0.5, 0.0, 2.01, true));
  EXPECT_FALSE(decideIdle(0.0, 0.0, -0.02, 2.01, true));
  EXPECT_FALSE(decideIdle(0.0, 0.0, 0.0, 2.0, true));
  EXPECT_FALSE(decideIdle(0.0, 0.0, 0.0, 2.01, false));
}

TEST(FrameDecisions, detailFollowsTheFrameRateWithinFiveToForty) {
  const auto settled = [](double fps) {
    double detail = 10.0;
    for (int i = 0; i < 3000; ++i) detail = filterDetail(detail, fps);
    return detail;
  };
  EXPECT_NEAR(settled(0.0), 5.0, 1e-6);
  EXPECT_NEAR(settled(5.0), 5.0, 1e-6);
  EXPECT_NEAR(settled(23.0), 23.0, 1e-6);
  EXPECT_NEAR(settled(40.0), 40.0, 1e-6);
  EXPECT_NEAR(settled(std::numeric_limits<double>::infinity()), 40.0, 1e-6);
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
  EXPECT_EQ(solidDetail(1, true, 10.0), 5);
  EXPECT_EQ(solidDetail(100, false, 10.0), 40);
}

TEST(LabelFont, eachFamilyHasTheNearestOfItsSizes) {
  struct Case {
    const char* family;
    int size;
    LabelFont font;
  };
  for (const Case& c :
       {Case{"Times Roman", 18, LabelFont::timesRoman10}, Case{"Times Roman", 19, LabelFont::timesRoman24},
        Case{"Helvetica", 10, LabelFont::helvetica10}, Case{"Helvetica", 11, LabelFont::helvetica12},
        Case{"Helvetica", 12, LabelFont::helvetica12}, Case{"Helvetica", 13, LabelFont::helvetica18},
        Case{"times roman", 24, LabelFont::helvetica18}, Case{"", 1, LabelFont::helvetica10}}) {
    EXPECT_EQ(chooseFont(c.family, c.size), c.font) << c.family << ' ' << c.size;
  }
}

}  // namespace
}  // namespace quorel
