#include <GL/freeglut.h>
#include <gtest/gtest.h>

#include <boost/smart_ptr/make_shared.hpp>

#include "animator/Scene.h"
#include "concurrency/Platform.h"
#include "versioning/VertexCallback.h"

namespace quorel {
namespace {

class InputTest : public testing::Test {
protected:
  void SetUp() override {
    if (scene == nullptr) GTEST_SKIP() << "no display";
  }

  void press(const std::string& keys) {
    for (const char key : keys) scene->animator.KeyPressFunc(static_cast<unsigned char>(key), 0, 0);
  }

  void click(int button, int x, int y) {
    scene->animator.MouseFunc(button, GLUT_DOWN, x, y);
    scene->animator.MouseFunc(button, GLUT_UP, x, y);
  }

  Scene* scene = Scene::empty();
};

TEST_F(InputTest, switchingTheIntegratorMakesItStartFromThePresentState) {
  scene->layout.startStateValid = true;
  press("h");
  EXPECT_FALSE(scene->layout.startStateValid);
}

TEST_F(InputTest, keysChangeTheStepAndTheFrictionAndSayWhatItIs) {
  press("+");
  EXPECT_EQ(scene->layout.time_step, 2.5F);
  press("-");
  EXPECT_EQ(scene->layout.time_step, 2.0F);
  testing::internal::CaptureStdout();
  press("Ff");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Friction = 0.5\nFriction = 0.25\n");
}

TEST_F(InputTest, onlyKeysThatMoveTheGraphLetItSettleAnew) {
  const auto settlesAnew = [this](char key) {
    scene->animator.settle_timer.start();
    sleepMilliseconds(2);
    testing::internal::CaptureStdout();
    press(std::string(1, key));
    testing::internal::GetCapturedStdout();
    return scene->animator.settle_timer.wallSeconds() < 0.002;
  };
  for (const char key : {'1', '9', 'F', 'f', 'G', 'q', 'R', 'r'}) EXPECT_TRUE(settlesAnew(key)) << key;
  for (const char key : {'0', '+', 'h', 'p', 'L', 'e', '?'}) EXPECT_FALSE(settlesAnew(key)) << key;
}

TEST_F(InputTest, digitsKickTheGraphAndResetScattersItAtRest) {
  scene->vertex(0.0F, 0.0F, 0.0F);
  scene->vertex(1.0F, 0.0F, 0.0F);
  const auto speed = [this] {
    float sum = 0.0F;
    for (const Scene::Vertex* v : scene->layout.vertices) sum += length(v->velocity);
    return sum;
  };
  press("0");
  EXPECT_EQ(speed(), 0.0F);
  press("5");
  EXPECT_GT(speed(), 0.0F);
  press("r");
  EXPECT_EQ(speed(), 0.0F);
  EXPECT_NE((*scene->layout.vertices.begin())->position, Scene::Vector());
}

class KeyRecorder final : public Scene::GraphLayout {
public:
  void keyPressed(unsigned char key) override { keys += static_cast<char>(key); }

  std::string keys;
};

TEST_F(InputTest, aKeyThatTheWindowDoesNotBindGoesToEveryLayout) {
  KeyRecorder layout;
  scene->animator.layouts.push_back({.layout = &layout});
  press("?0zEesbGq");
  press(std::string(1, '\0'));
  scene->animator.layouts.pop_back();
  EXPECT_EQ(layout.keys, std::string("?0z\0", 4));
}

TEST_F(InputTest, anyInputHoldsOffIdlenessButTheMenuDoesNot) {
  Scene::GraphAnimator& a = scene->animator;
  const auto holdsOff = [&a](auto input) {
    a.input_timer.start();
    sleepMilliseconds(2);
    input();
    return a.input_timer.wallSeconds() < 0.002;
  };
  EXPECT_TRUE(holdsOff([&] { press("z"); }));
  EXPECT_TRUE(holdsOff([&] { a.SpecialKeyFunc(GLUT_KEY_F1, 0, 0); }));
  EXPECT_TRUE(holdsOff([&] { a.MouseFunc(GLUT_LEFT_BUTTON, GLUT_UP, 0, 0); }));
  EXPECT_TRUE(holdsOff([&] { a.MouseFunc(3, GLUT_DOWN, 0, 0); }));
  EXPECT_TRUE(holdsOff([&] { a.MotionFunc(0, 0); }));
  EXPECT_TRUE(holdsOff([&] { a.ReshapeFunc(Scene::width, Scene::height); }));
  EXPECT_FALSE(holdsOff([&] { a.PassiveMotionFunc(1, 1); }));
  EXPECT_FALSE(holdsOff([&] { a.MenuFunc(4); }));
}

TEST_F(InputTest, theWheelLeavesADragAsItWas) {
  Scene::GraphAnimator& a = scene->animator;
  a.MouseFunc(GLUT_LEFT_BUTTON, GLUT_DOWN, 100, 100);
  click(3, 120, 100);
  click(4, 120, 100);
  a.MotionFunc(150, 100);
  EXPECT_NEAR(a.angle_y, -45.0, 1e-4);
  EXPECT_EQ(a.viewport_x, 0);
  EXPECT_EQ(a.camera_dist, -3.0);
}

class Counter final : public VertexCallback {
public:
  void operator()(Vertex*) override { ++calls; }

  int calls = 0;
};

}  // namespace
}  // namespace quorel
