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
  const auto zoom = [this](auto press) {
    press();
    const double before = animator.camera_dist;
    animator.DisplayFunc();
    return animator.camera_dist - before;
  };
  const auto special = [this](int key) { return [this, key] { animator.SpecialKeyFunc(key, 0, 0); }; };
  const auto plain = [this](char key) { return [this, key] { scene.press({key}); }; };
  EXPECT_NEAR(zoom(special(GLUT_KEY_UP)), 0.1, 1e-9);
  EXPECT_NEAR(zoom(special(GLUT_KEY_DOWN)), -0.1, 1e-9);
  EXPECT_NEAR(zoom(plain('@')), 1.0, 1e-9);
  EXPECT_NEAR(zoom(plain('!')), -1.0, 1e-9);

  const auto expectSpin = [this](double& angle, auto oneWay, auto otherWay, double direction) {
    const auto turn = [&] {
      const double before = angle;
      animator.DisplayFunc();
      return (angle - before) * direction;
    };
    oneWay();
    oneWay();
    EXPECT_GT(turn(), 0.0);
    otherWay();
    EXPECT_EQ(turn(), 0.0) << "the first press stops it";
    otherWay();
    EXPECT_LT(turn(), 0.0);
    oneWay();
  };
  expectSpin(animator.angle_y, special(GLUT_KEY_RIGHT), special(GLUT_KEY_LEFT), 1.0);
  expectSpin(animator.angle_z, plain('u'), plain('d'), 1.0);
  expectSpin(animator.angle_z, plain('D'), plain('U'), -1.0);
}

TEST_F(InputTest, keysAndMenuChangeTheSimulationAndFrictionSaysWhatItIs) {
  layout.startStateValid = true;
  scene.press("h");
  EXPECT_FALSE(layout.use_runge_kutta);
  EXPECT_FALSE(layout.startStateValid) << "the next step begins at the present state";
  scene.press("H");
  EXPECT_TRUE(layout.use_runge_kutta);
  scene.press("p");
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

TEST_F(InputTest, onlyWhatMovesTheGraphLetsItSettleAnew) {
  const auto settlesAnew = [this](char key) { return starts(animator.settle_timer, [&] { scene.press({key}); }); };
  for (const char key : {'1', '9', 'F', 'f', 'G', 'g', 'Q', 'q', 'R', 'r'}) EXPECT_TRUE(settlesAnew(key)) << key;
  for (const char key : {'0', '+', 'h', 'p', 'L', 'e', '?'}) EXPECT_FALSE(settlesAnew(key)) << key;
  EXPECT_TRUE(starts(animator.settle_timer, [this] { animator.MenuFunc(0); }));
  EXPECT_FALSE(starts(animator.settle_timer, [this] { animator.MenuFunc(4); }));
}

TEST_F(InputTest, anyInputHoldsOffIdlenessButTheMenuDoesNot) {
  Scene::GraphAnimator& a = animator;
  const auto holdsOff = [&a](auto input) { return starts(a.input_timer, input); };
  EXPECT_TRUE(holdsOff([this] { scene.press("z"); }));
  EXPECT_TRUE(holdsOff([&] { a.SpecialKeyFunc(GLUT_KEY_F1, 0, 0); }));
  EXPECT_TRUE(holdsOff([&] { a.MouseFunc(GLUT_LEFT_BUTTON, GLUT_UP, 0, 0); }));
  EXPECT_TRUE(holdsOff([&] { a.MouseFunc(3, GLUT_DOWN, 0, 0); }));
  EXPECT_TRUE(holdsOff([&] { a.MotionFunc(0, 0); }));
  EXPECT_TRUE(holdsOff([&] { a.ReshapeFunc(Scene::width, Scene::height); }));
  EXPECT_FALSE(holdsOff([&] { a.PassiveMotionFunc(1, 1); }));
  EXPECT_FALSE(holdsOff([&] { a.MenuFunc(4); }));
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
  Scene::GraphAnimator& a = animator;
  a.MouseFunc(GLUT_LEFT_BUTTON, GLUT_DOWN, 100, 100);
  click(3, 120, 100);
  click(4, 120, 100);
  a.MotionFunc(150, 100);
  EXPECT_NEAR(a.angle_y, -45.0, 1e-4);
  EXPECT_EQ(a.viewport_x, 0);
  EXPECT_EQ(a.camera_dist, -3.0);
  a.MouseFunc(GLUT_MIDDLE_BUTTON, GLUT_DOWN, 100, 100);
  a.MotionFunc(150, 70);
  EXPECT_EQ(a.viewport_x, 50);
  EXPECT_EQ(a.viewport_y, 30);
  EXPECT_NEAR(a.angle_y, -45.0, 1e-4);
}

}  // namespace
}  // namespace quorel
