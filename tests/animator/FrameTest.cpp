#include <GL/freeglut.h>
#include <gtest/gtest.h>

#include <cmath>

#include "animator/Scene.h"
#include "concurrency/Platform.h"

namespace quorel {
namespace {

using Vector = Scene::Vector;

class FrameTest : public testing::Test {
protected:
  void SetUp() override {
    if (scene == nullptr) GTEST_SKIP() << "no display";
  }

  /// Two vertices on an edge far longer than at rest.
  void addSpring() {
    left = scene->vertex(-1.0F, 0.0F, 0.0F);
    right = scene->vertex(1.0F, 0.0F, 0.0F);
    scene->edge(left, right);
  }

  float distance() const { return length(right->position - left->position); }

  Scene* scene = Scene::empty();
  Scene::Vertex* left = nullptr;
  Scene::Vertex* right = nullptr;
};

class Counter final : public GraphUpdater {
public:
  explicit Counter(Scene::GraphAnimator& animator) : a(animator) { a.updaters.insert(this); }
  ~Counter() { a.updaters.erase(this); }
  void poll() override { ++polls; }

  Scene::GraphAnimator& a;
  int polls = 0;
};

TEST_F(FrameTest, everyKindOfStepMovesTheGraphAndDrawsIt) {
  for (const bool parallel : {true, false}) {
    for (const bool rungeKutta : {true, false}) {
      for (const bool drawing : {true, false}) {
        scene = Scene::empty();
        addSpring();
        scene->layout.parallel = parallel;
        scene->layout.use_runge_kutta = rungeKutta;
        scene->animator.drawing = drawing;
        scene->animator.max_speed = 7.0;
        scene->animator.Display(true);
        scene->animator.Display(true);
        EXPECT_LT(distance(), 2.0F) << parallel << rungeKutta << drawing;
        EXPECT_EQ(scene->animator.max_speed == 7.0, !drawing) << "measured by the drawing pass alone";
        EXPECT_GT(scene->animator.vps, 0.0);
      }
    }
  }
}

TEST_F(FrameTest, aPictureWithoutAStepMovesNothing) {
  addSpring();
  for (const bool parallel : {true, false}) {
    scene->layout.parallel = parallel;
    scene->animator.Display(false);
    EXPECT_EQ(distance(), 2.0F);
  }
  scene->layout.parallel = false;
  scene->animator.layouts.front().stepping = false;
  scene->animator.Display(true);
  scene->animator.layouts.front().stepping = true;
  EXPECT_EQ(distance(), 2.0F);
}

TEST_F(FrameTest, aFramePollsStepsAndTakesTheChanges) {
  Counter counter(scene->animator);
  addSpring();
  EXPECT_EQ(scene->layout.changeCount, 3);
  scene->animator.stillness = 1.0;
  scene->animator.DisplayFunc();
  EXPECT_EQ(counter.polls, 1);
  EXPECT_LT(distance(), 2.0F);
  EXPECT_EQ(scene->layout.changeCount, 0);
  EXPECT_LT(scene->animator.stillness, 0.1) << "a change wakes the graph";
  EXPECT_GT(scene->animator.fps, 0.0);
}

TEST_F(FrameTest, aFrameThatDoesNotStepTakesTwentyMillisecondsAtLeast) {
  scene->animator.frame_timer.start();
  Timer timer;
  timer.start();
  for (int i = 0; i < 5; ++i) scene->animator.DisplayFunc();
  EXPECT_GT(timer.wallSeconds(), 0.09);
  EXPECT_LT(scene->animator.fps, 1000.0 / 19.0) << "whole milliseconds";
}

TEST_F(FrameTest, theCameraMovesAFrameAtATime) {
  scene->animator.zoom_velocity = 1.0;
  scene->animator.spin_y = 10.0;
  scene->animator.spin_timer.start();
  scene->animator.DisplayFunc();
  EXPECT_DOUBLE_EQ(scene->animator.camera_dist, -2.9);
  EXPECT_DOUBLE_EQ(scene->animator.zoom_velocity, 0.9);
  EXPECT_EQ(scene->animator.autozoom_dist, 0.0) << "nothing to zoom on";
  sleepMilliseconds(20);
  scene->animator.DisplayFunc();
  EXPECT_GE(scene->animator.angle_y, 2.0 * 0.02 * 10.0);
}

TEST_F(FrameTest, aGraphThatComesToRestStopsAndAChangeWakesIt) {
  addSpring();
  scene->animator.countGraphChanges();
  scene->animator.max_speed = 0.0;
  for (int i = 0; i < 5; ++i) scene->animator.updateIdleStatistics();
  EXPECT_GT(scene->animator.stillness, 0.1);
  scene->animator.countGraphChanges();
  EXPECT_EQ(scene->animator.changes, 0);
  EXPECT_GT(scene->animator.stillness, 0.1);
  scene->vertex(0.0F, 0.0F, 0.0F);
  scene->animator.countGraphChanges();
  EXPECT_EQ(scene->animator.changes, 1);
  EXPECT_EQ(scene->animator.stillness, 0.0);
  EXPECT_EQ(scene->animator.vertex_count, 3);
}

TEST_F(FrameTest, theViewportAndTheAspectFollowTheWindow) {
  scene->animator.ReshapeFunc(0, 0);
  EXPECT_EQ(scene->animator.aspect, 1.0);
  EXPECT_EQ(scene->animator.window_w, 0);
  scene->animator.DisplayFunc();
  scene->animator.ReshapeFunc(300, 100);
  EXPECT_EQ(scene->animator.aspect, 3.0);
  GLint viewport[4];
  glGetIntegerv(GL_VIEWPORT, viewport);
  EXPECT_EQ(viewport[2], 300);
  EXPECT_EQ(viewport[3], 100);
}

}  // namespace
}  // namespace quorel
