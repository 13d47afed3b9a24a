#include <GL/freeglut.h>

#include <cmath>
#include <tuple>

#include "animator/Scene.h"
#include "concurrency/Platform.h"

namespace quorel {
namespace {

class InputTest : public SceneTest {
protected:
  /// Whether the input starts the timer.
  template <class Input>
  static bool starts(Timer& timer, Input input) {
    timer = Timer();  // which has run since 1970
    input();
    const bool started = timer.wallSeconds() < 1e6;
    timer.start();
    return started;
  }
};

TEST_F(InputTest, zoomKeysGlideAndSpinKeysBuildUpOrStop) {
  constexpr int special = 256;
  const auto changeBy = [this](int key, const double& value) {
    if (key < special) {
      animator.KeyPressFunc(static_cast<unsigned char>(key), 0, 0);
    } else {
      animator.SpecialKeyFunc(key - special, 0, 0);
    }
    const double before = value;
    animator.DisplayFunc();
    animator.DisplayFunc();
    return value - before;
  };
  const std::pair<int, double> zooms[] = {
      {special + GLUT_KEY_UP, 1.0}, {special + GLUT_KEY_DOWN, -1.0}, {'@', 10.0}, {'!', -10.0}};
  for (const auto& [key, velocity] : zooms) {
    EXPECT_NEAR(changeBy(key, animator.camera_dist), (0.1 + 0.1 * 0.9) * velocity, 1e-9);
  }
  const std::tuple<double&, int, int> spins[] = {{animator.angle_y, special + GLUT_KEY_RIGHT, special + GLUT_KEY_LEFT},
                                                 {animator.angle_z, 'u', 'd'},
                                                 {animator.angle_z, 'U', 'D'}};
  for (const auto& [angle, forth, back] : spins) {
    EXPECT_GT(changeBy(forth, angle), 0.0);
    EXPECT_GT(changeBy(forth, angle), 0.0);
    EXPECT_EQ(changeBy(back, angle), 0.0) << "the first press stops it";
    EXPECT_LT(changeBy(back, angle), 0.0);
    EXPECT_EQ(changeBy(forth, angle), 0.0);
  }
}

TEST_F(InputTest, keysAndMenuChangeTheSimulationAndFrictionSaysWhatItIs) {
  layout.startStateValid = true;
  const std::tuple<const char*, bool, bool, float> cases[] = {{"h", false, true, 2.0F},
                                                              {"Hp", true, false, 2.0F},
                                                              {"P", true, true, 2.0F},
                                                              {"+", true, true, 2.5F},
                                                              {"-", true, true, 2.0F}};
  for (const auto& [keys, rungeKutta, parallel, timeStep] : cases) {
    scene.press(keys);
    EXPECT_EQ(std::tuple(layout.use_runge_kutta, layout.parallel, layout.time_step),
              std::tuple(rungeKutta, parallel, timeStep))
        << keys;
  }
  EXPECT_FALSE(layout.startStateValid) << "with another integrator the next step begins at the present state";
  animator.MenuFunc(3);
  EXPECT_FALSE(layout.parallel);
  testing::internal::CaptureStdout();
  scene.press("Ff");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Friction = 0.5\nFriction = 0.25\n");
}

TEST_F(InputTest, digitsKickTheGraphAndResetScattersItAtRest) {
  Scene::Vertex* v = scene.vertex(0.0F, 0.0F, 0.0F);
  Scene::Vertex* w = scene.vertex(1.0F, 0.0F, 0.0F);
  const auto speed = [&] { return length(v->velocity) + length(w->velocity); };
  scene.press("0");
  EXPECT_EQ(speed(), 0.0F);
  const std::function<void()> resets[] = {[this] { scene.press("r"); }, [this] { scene.press("R"); },
                                          [this] { animator.MenuFunc(0); }};
  for (int digit = 1; digit <= 9; ++digit) {
    scene.press(std::to_string(digit));
    EXPECT_GT(speed(), 0.0F) << digit;
    Scene::move(v, {});
    resets[digit % 3]();
    EXPECT_EQ(speed(), 0.0F);
    EXPECT_NE(v->position, Scene::Vector());
  }
}

TEST_F(InputTest, onlyWhatMovesTheGraphLetsItSettleAnewAndAnyInputButTheMenuHoldsOffIdleness) {
  Scene::GraphAnimator& a = animator;
  const auto settlesAnew = [&](char key) { return starts(a.settle_timer, [&] { scene.press({key}); }); };
  for (const char key : {'1', '9', 'F', 'f', 'G', 'g', 'Q', 'q', 'R', 'r'}) EXPECT_TRUE(settlesAnew(key)) << key;
  for (const char key : {'0', '+', 'h', 'p', 'L', 'e', '?'}) EXPECT_FALSE(settlesAnew(key)) << key;
  EXPECT_TRUE(starts(a.settle_timer, [&] { a.MenuFunc(0); }));
  EXPECT_FALSE(starts(a.settle_timer, [&] { a.MenuFunc(4); }));

  const std::function<void()> inputs[] = {[&] { scene.press("z"); },
                                          [&] { a.SpecialKeyFunc(GLUT_KEY_F1, 0, 0); },
                                          [&] { a.MouseFunc(GLUT_LEFT_BUTTON, GLUT_UP, 0, 0); },
                                          [&] { a.MouseFunc(3, GLUT_DOWN, 0, 0); },
                                          [&] { a.MotionFunc(0, 0); },
                                          [&] { a.ReshapeFunc(Scene::width, Scene::height); }};
  for (const auto& input : inputs) EXPECT_TRUE(starts(a.input_timer, input)) << &input - inputs;
  EXPECT_FALSE(starts(a.input_timer, [&] { a.PassiveMotionFunc(1, 1); }));
  EXPECT_FALSE(starts(a.input_timer, [&] { a.MenuFunc(4); }));
}

class KeyRecorder final : public Scene::GraphLayout {
public:
  void keyPressed(unsigned char key) override { keys += static_cast<char>(key); }

  std::string keys;
};

TEST_F(InputTest, whatTheWindowDoesNotBindChangesNothingAndKeysGoToEveryLayout) {
  scene.vertex(0.3F, 0.2F, 0.0F)->style.set_label("label");
  const Picture before = scene.picture();
  KeyRecorder other;
  animator.layouts.push_back({.layout = &other});
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  const std::string unbound("?0zZXy.\t\b\r\0", 11);
  scene.press(unbound + "EesbGgQq");
  animator.layouts.pop_back();
  EXPECT_EQ(other.keys, unbound);
  for (const int key : {GLUT_KEY_F1, GLUT_KEY_F12, GLUT_KEY_PAGE_UP}) animator.SpecialKeyFunc(key, 0, 0);
  for (const int entry : {-1, 6}) animator.MenuFunc(entry);
  EXPECT_EQ(animator.zoom_velocity + std::abs(animator.spin_y) + std::abs(animator.spin_z), 0.0);
  EXPECT_EQ(scene.picture().differences(before), 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr(), "");
}

TEST_F(InputTest, escapeOutsideFullScreenSaysItsTwoLinesOnce) {
  testing::internal::CaptureStderr();
  scene.press("\033\033");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Use ESC to exit full-screen mode.  To exit Tessarel, use the \nright-mouse button menu.\n");
}

TEST_F(InputTest, aLeftDragTurnsAnotherSlidesTheWheelLeavesItAsItWasAndAWindowNeedNoSize) {
  animator.MouseFunc(GLUT_LEFT_BUTTON, GLUT_DOWN, 100, 100);
  for (int wheel = 3; wheel < 8; ++wheel) animator.MouseFunc(wheel, GLUT_DOWN, 120, 100);
  animator.MotionFunc(150, 70);
  animator.MouseFunc(GLUT_MIDDLE_BUTTON, GLUT_DOWN, 100, 100);
  animator.MotionFunc(150, 70);
  EXPECT_NEAR(animator.angle_y, -45.0, 1e-4);
  EXPECT_NEAR(animator.angle_x, 36.0, 1e-4);
  EXPECT_EQ(animator.camera_dist, -3.0);
  EXPECT_EQ(animator.viewport_x, 50);
  EXPECT_EQ(animator.viewport_y, 30);

  animator.ReshapeFunc(0, 0);
  animator.MouseFunc(GLUT_LEFT_BUTTON, GLUT_DOWN, 100, 100);
  animator.MotionFunc(105, 105);
  animator.DisplayFunc();
  EXPECT_EQ(animator.aspect, 1.0);
  EXPECT_TRUE(std::isfinite(animator.angle_x) && std::isfinite(animator.angle_y));
}

}  // namespace
}  // namespace quorel
