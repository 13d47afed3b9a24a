#include <GL/freeglut.h>

#include <cmath>

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

  void click(int button, int x, int y) {
    animator.MouseFunc(button, GLUT_DOWN, x, y);
    animator.MouseFunc(button, GLUT_UP, x, y);
  }
};

TEST_F(InputTest, zoomKeysGlideAndSpinKeysBuildUpOrStop) {
  using Press = std::function<void()>;
  const auto special = [this](int key) { return [this, key] { animator.SpecialKeyFunc(key, 0, 0); }; };
  const auto plain = [this](char key) { return [this, key] { scene.press({key}); }; };
  const auto change = [this](const double& value) {
    const double before = value;
    animator.DisplayFunc();
    return value - before;
  };
  const std::pair<Press, double> zooms[] = {
      {special(GLUT_KEY_UP), 0.1}, {special(GLUT_KEY_DOWN), -0.1}, {plain('@'), 1.0}, {plain('!'), -1.0}};
  for (const auto& [press, expected] : zooms) {
    press();
    EXPECT_NEAR(change(animator.camera_dist), expected, 1e-9);
  }
  const struct {
    double& angle;
    Press forth, back;
  } spins[] = {{animator.angle_y, special(GLUT_KEY_RIGHT), special(GLUT_KEY_LEFT)},
               {animator.angle_z, plain('u'), plain('d')},
               {animator.angle_z, plain('U'), plain('D')}};
  for (const auto& [angle, forth, back] : spins) {
    forth();
    forth();
    EXPECT_GT(change(angle), 0.0);
    back();
    EXPECT_EQ(change(angle), 0.0) << "the first press stops it";
    back();
    EXPECT_LT(change(angle), 0.0);
    forth();
  }
}

TEST_F(InputTest, keysAndMenuChangeTheSimulationAndFrictionSaysWhatItIs) {
  layout.startStateValid = true;
  scene.press("h");
  EXPECT_FALSE(layout.use_runge_kutta);
  EXPECT_FALSE(layout.startStateValid) << "the next step begins at the present state";
  scene.press("Hp");
  EXPECT_TRUE(layout.use_runge_kutta);
  EXPECT_FALSE(layout.parallel);
  scene.press("P");
  EXPECT_TRUE(layout.parallel);
  animator.MenuFunc(3);
  EXPECT_FALSE(layout.parallel);
  scene.press("+");
  EXPECT_EQ(layout.time_step, 2.5F);
  scene.press("-");
  EXPECT_EQ(layout.time_step, 2.0F);
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
  for (const int key : {GLUT_KEY_F1, GLUT_KEY_F12, GLUT_KEY_HOME, GLUT_KEY_END, GLUT_KEY_PAGE_UP, GLUT_KEY_INSERT}) {
    animator.SpecialKeyFunc(key, 0, 0);
  }
  for (int button = 3; button < 8; ++button) click(button, 10, 10);
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

TEST_F(InputTest, aLeftDragTurnsAnotherSlidesAndTheWheelLeavesItAsItWas) {
  animator.MouseFunc(GLUT_LEFT_BUTTON, GLUT_DOWN, 100, 100);
  for (const int wheel : {3, 4}) click(wheel, 120, 100);
  animator.MotionFunc(150, 100);
  animator.MouseFunc(GLUT_MIDDLE_BUTTON, GLUT_DOWN, 100, 100);
  animator.MotionFunc(150, 70);
  EXPECT_NEAR(animator.angle_y, -45.0, 1e-4);
  EXPECT_EQ(animator.camera_dist, -3.0);
  EXPECT_EQ(animator.viewport_x, 50);
  EXPECT_EQ(animator.viewport_y, 30);
}

}  // namespace
}  // namespace quorel
