#include <GL/freeglut.h>

#include <cmath>

#include "animator/Scene.h"

namespace quorel {
namespace {

/// Two vertices on an edge far longer than at rest.
class FrameTest : public SceneTest {
protected:
  float distance() const { return length(right->position - left->position); }

  Scene::Vertex* left = scene.vertex(-1.0F, 0.0F, 0.0F);
  Scene::Vertex* right = scene.vertex(1.0F, 0.0F, 0.0F);
  Scene::Edge* spring = scene.edge(left, right);
};

class Counter final : public GraphUpdater {
public:
  explicit Counter(Scene::GraphAnimator& animator) : a(animator) { a.updaters.insert(this); }
  ~Counter() { a.updaters.erase(this); }
  void poll() override { ++polls; }

  Scene::GraphAnimator& a;
  int polls = 0;
};

TEST_F(FrameTest, everyKindOfStepMovesTheGraphAndDrawsItAndAPictureWithoutAStepMovesNothing) {
  for (const bool parallel : {true, false}) {
    for (const bool rungeKutta : {true, false}) {
      for (const bool drawing : {true, false}) {
        Scene::move(left, {-1.0F, 0.0F, 0.0F});
        Scene::move(right, {1.0F, 0.0F, 0.0F});
        layout.startStateValid = false;
        layout.parallel = parallel;
        layout.use_runge_kutta = rungeKutta;
        animator.drawing = drawing;
        animator.max_speed = 7.0;
        animator.Display(false);
        EXPECT_EQ(distance(), 2.0F);
        animator.max_speed = 7.0;
        animator.Display(true);
        animator.Display(true);
        EXPECT_LT(distance(), 2.0F) << parallel << rungeKutta << drawing;
        EXPECT_EQ(animator.max_speed == 7.0, !drawing) << "measured by the drawing pass alone";
        EXPECT_GT(animator.vps, 0.0);
      }
    }
  }
  layout.parallel = false;
  animator.layouts.front().stepping = false;
  const float before = distance();
  animator.Display(true);
  animator.layouts.front().stepping = true;
  EXPECT_EQ(distance(), before);
}

TEST_F(FrameTest, aFramePollsStepsAndTakesTheChanges) {
  Counter counter(animator);
  EXPECT_EQ(layout.changeCount, 3);
  animator.stillness = 1.0;
  animator.settle_timer.start();
  animator.DisplayFunc();
  EXPECT_EQ(counter.polls, 1);
  EXPECT_LT(distance(), 2.0F);
  EXPECT_EQ(layout.changeCount, 0);
  EXPECT_EQ(animator.vertex_count, 2);
  EXPECT_LT(animator.stillness, 0.1) << "a change wakes the graph";
  EXPECT_GT(animator.fps, 0.0);

  const float before = distance();
  scene.press(" ");
  animator.DisplayFunc();
  EXPECT_EQ(distance(), before) << "paused";
}

TEST_F(FrameTest, aFrameThatNobodySeesDoesAllButDraw) {
  Scene::Vertex* last = scene.vertex(0.0F, 1.0F, 0.0F);
  Scene::move(last, {0.0F, 0.2F, 0.0F});
  for (const bool batching : {true, false}) {
    animator.batching = batching;
    Counter counter(animator);
    const float stretched = distance();
    animator.max_speed = 0.0;
    animator.settle_timer.start();
    animator.HiddenFunc();
    EXPECT_EQ(counter.polls, 1);
    EXPECT_LT(distance(), stretched);
    EXPECT_EQ(layout.changeCount, 0);
    EXPECT_EQ(animator.vertex_count, 3);
    animator.HiddenFunc();
    EXPECT_GT(animator.max_speed, 0.0) << "the graph comes to rest unseen as well";
    EXPECT_EQ(Picture().count(), 0);
  }
  animator.batching = true;
  animator.DisplayFunc();
  EXPECT_GT(scene.picture().count(), 0) << "seen again";
}

TEST_F(FrameTest, aGraphThatComesToRestCountsAsStillUntilAChange) {
  animator.countGraphChanges();
  animator.max_speed = 0.0;
  for (int i = 0; i < 5; ++i) animator.updateIdleStatistics();
  animator.countGraphChanges();
  EXPECT_EQ(animator.changes, 0);
  EXPECT_GT(animator.stillness, 0.1);
  scene.vertex(0.0F, 0.0F, 0.0F);
  animator.countGraphChanges();
  EXPECT_EQ(animator.changes, 1);
  EXPECT_EQ(animator.stillness, 0.0);
}

TEST_F(FrameTest, aFrameThatDoesNotStepTakesTwentyMillisecondsAtLeast) {
  layout.clear();
  animator.frame_timer.start();
  Timer timer;
  timer.start();
  for (int i = 0; i < 5; ++i) animator.DisplayFunc();
  EXPECT_GT(timer.wallSeconds(), 0.09);
  EXPECT_LT(animator.fps, 1000.0 / 19.0) << "whole milliseconds";
}

TEST_F(FrameTest, theCameraStandsBackByTheExtentUnlessTheMenuTurnsThatOff) {
  animator.DisplayFunc();
  layout.eigenvalues = {0.0F, 0.0F, 4.0F};
  animator.MenuFunc(2);
  const double before = animator.autozoom_dist;
  animator.DisplayFunc();
  EXPECT_EQ(animator.autozoom_dist, before);
  animator.MenuFunc(2);
  animator.DisplayFunc();
  EXPECT_LT(animator.autozoom_dist, before);
}

TEST_F(FrameTest, theViewportAndTheAspectFollowTheWindow) {
  animator.ReshapeFunc(0, 0);
  EXPECT_EQ(animator.aspect, 1.0);
  EXPECT_EQ(animator.window_w, 0);
  animator.DisplayFunc();
  animator.ReshapeFunc(300, 100);
  EXPECT_EQ(animator.aspect, 3.0);
  GLint viewport[4];
  glGetIntegerv(GL_VIEWPORT, viewport);
  EXPECT_EQ(viewport[2], 300);
  EXPECT_EQ(viewport[3], 100);
}

}  // namespace
}  // namespace quorel
