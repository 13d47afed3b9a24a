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
  for (int kind = 0; kind < 16; ++kind) {
    SCOPED_TRACE(kind);
    Scene::move(left, {-1.0F, 0.0F, 0.0F});
    Scene::move(right, {1.0F, 0.0F, 0.0F});
    layout.startStateValid = false;
    layout.parallel = kind % 2 == 0;
    layout.use_runge_kutta = kind / 2 % 2 == 0;
    animator.drawing = kind / 4 % 2 == 0;
    animator.layouts.front().stepping = kind / 8 == 0 || layout.parallel;
    for (const bool step : {false, true, true}) {
      animator.max_speed = 7.0;
      animator.Display(step);
      EXPECT_EQ(distance() < 2.0F, step && animator.layouts.front().stepping);
      EXPECT_EQ(animator.max_speed == 7.0, !animator.drawing) << "measured by the drawing pass alone";
    }
    EXPECT_GT(animator.vps, 0.0);
  }
  animator.layouts.front().stepping = true;
}

TEST_F(FrameTest, aFramePollsStepsAndTakesTheChangesAndNeedNotBeSeen) {
  for (const auto& [isSeen, batching] : {std::pair{true, true}, {false, true}, {false, false}}) {
    SCOPED_TRACE(testing::Message() << isSeen << batching);
    const auto frame = [&] { isSeen ? animator.DisplayFunc() : animator.HiddenFunc(); };
    Counter counter(animator);
    scene.vertex(0.0F, 0.2F, 0.0F);
    const float stretched = distance();
    animator.batching = batching;
    animator.stillness = 1.0;
    animator.max_speed = 0.0;
    animator.settle_timer.start();
    frame();
    EXPECT_EQ(counter.polls, 1);
    EXPECT_LT(distance(), stretched);
    EXPECT_EQ(layout.changeCount, 0);
    EXPECT_EQ(animator.vertex_count, layout.numVertices());
    EXPECT_LT(animator.stillness, 0.1) << "a change wakes the graph";
    EXPECT_GT(animator.fps, 0.0);
    frame();
    EXPECT_GT(animator.max_speed, 0.0) << "the graph comes to rest unseen as well";
    EXPECT_TRUE(isSeen || Picture().count() == 0);
  }
  animator.batching = true;
  const float before = distance();
  scene.press(" ");
  animator.DisplayFunc();
  EXPECT_EQ(distance(), before) << "paused";
  EXPECT_GT(scene.picture().count(), 0) << "seen again";
}

TEST_F(FrameTest, aFrameThatDoesNotStepTakesTwentyMillisecondsAtLeastAndIsStill) {
  layout.clear();
  animator.stillness = 0.0;
  animator.frame_timer.start();
  Timer timer;
  timer.start();
  for (int i = 0; i < 5; ++i) animator.DisplayFunc();
  EXPECT_GT(timer.wallSeconds(), 0.09);
  EXPECT_LT(animator.fps, 1000.0 / 19.0) << "whole milliseconds";
  EXPECT_GT(animator.stillness, 0.1);
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

}  // namespace
}  // namespace quorel
