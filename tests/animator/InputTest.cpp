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

TEST_F(InputTest, aTogglingKeyWorksInEachOfItsLettersAndThereAndBack) {
  Scene::GraphAnimator& a = scene->animator;
  struct Toggle {
    const char* keys;
    bool& flag;
  };
  for (const Toggle& t :
       {Toggle{" ", a.paused}, Toggle{"%", a.drawing}, Toggle{"Aa", a.show_forces}, Toggle{"Ll", a.show_labels},
        Toggle{"S", a.show_status}, Toggle{"Tt", a.show_spacetree}, Toggle{"Vv", a.show_vertices},
        Toggle{"Pp", scene->layout.parallel}, Toggle{"Hh", scene->layout.use_runge_kutta}}) {
    const bool before = t.flag;
    for (const char* key = t.keys; *key != '\0'; ++key) {
      press(std::string(1, *key));
      EXPECT_NE(t.flag, before) << *key;
      press(std::string(1, *key));
      EXPECT_EQ(t.flag, before) << *key;
    }
  }
  press("s");
  EXPECT_FALSE(a.show_status) << "only the capital letter is bound";
}

TEST_F(InputTest, switchingTheIntegratorMakesItStartFromThePresentState) {
  scene->layout.startStateValid = true;
  press("h");
  EXPECT_FALSE(scene->layout.startStateValid);
}

TEST_F(InputTest, keysGlideSpinAndShowTheAxes) {
  Scene::GraphAnimator& a = scene->animator;
  press("!");
  EXPECT_EQ(a.zoom_velocity, -10.0);
  press("@");
  EXPECT_EQ(a.zoom_velocity, 10.0);
  press("uU");
  EXPECT_EQ(a.spin_z, 1.0);
  press("d");
  EXPECT_EQ(a.spin_z, 0.0);
  press("D");
  EXPECT_EQ(a.spin_z, -0.5);
  press("x");
  EXPECT_EQ(a.axes_hidden, 0);
  press("x");
  EXPECT_EQ(a.axes_hidden, -1);

  const auto special = [&a](int key) { a.SpecialKeyFunc(key, 0, 0); };
  special(GLUT_KEY_RIGHT);
  EXPECT_EQ(a.spin_y, 0.5);
  special(GLUT_KEY_LEFT);
  special(GLUT_KEY_LEFT);
  EXPECT_EQ(a.spin_y, -0.5);
  special(GLUT_KEY_UP);
  EXPECT_EQ(a.zoom_velocity, 1.0);
  special(GLUT_KEY_DOWN);
  EXPECT_EQ(a.zoom_velocity, -1.0);
  special(GLUT_KEY_F1);
  EXPECT_EQ(a.zoom_velocity, -1.0);
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

TEST_F(InputTest, theTildePrintsTheCameraOnOneLine) {
  scene->layout.eigenvalues = Scene::Vector(0.5F, 1.0F, 2.0F);
  scene->animator.autozoom_dist = -1.5;
  testing::internal::CaptureStderr();
  press("~");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "camera_dist=-3  autozoom_dist=-1.5  eigenvalues=[0.5,1,2]\n");
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

TEST_F(InputTest, escapeOutsideFullScreenExplainsItselfOnce) {
  testing::internal::CaptureStderr();
  press("\033\033");
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Use ESC to exit full-screen mode.  To exit Tessarel, use the \nright-mouse button menu.\n");
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

TEST_F(InputTest, aLeftDragTurnsTheViewAndAnotherSlidesThePicture) {
  Scene::GraphAnimator& a = scene->animator;
  a.MouseFunc(GLUT_LEFT_BUTTON, GLUT_DOWN, 100, 100);
  a.MotionFunc(150, 100);
  a.MotionFunc(200, 250);
  EXPECT_NEAR(a.angle_y, -90.0, 1e-4);
  EXPECT_NEAR(a.angle_x, -180.0, 1e-4);

  a.MouseFunc(GLUT_MIDDLE_BUTTON, GLUT_DOWN, 10, 10);
  a.MotionFunc(17, 5);
  EXPECT_EQ(a.viewport_x, 7);
  EXPECT_EQ(a.viewport_y, 5);
  EXPECT_EQ(a.window_w, Scene::width);
  GLint viewport[4];
  glGetIntegerv(GL_VIEWPORT, viewport);
  EXPECT_EQ(viewport[0], 7);
  EXPECT_EQ(viewport[1], 5);
  EXPECT_NEAR(a.angle_y, -90.0, 1e-4);
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

TEST_F(InputTest, twoQuickLeftPressesAreADoubleClickAndThreeAreTwo) {
  const auto counter = boost::make_shared<Counter>();
  scene->layout.defaultVertexStyle.set_callback(counter);
  scene->vertex(0.0F, 0.0F, 0.0F);
  constexpr int x = Scene::width / 2;
  constexpr int y = Scene::height / 2;
  sleepMilliseconds(260);
  click(GLUT_LEFT_BUTTON, x, y);
  EXPECT_EQ(counter->calls, 0) << "the first after a pause";
  click(GLUT_LEFT_BUTTON, x, y);
  EXPECT_EQ(counter->calls, 1);
  click(GLUT_LEFT_BUTTON, x, y);
  EXPECT_EQ(counter->calls, 2);
  click(GLUT_MIDDLE_BUTTON, x, y);
  EXPECT_EQ(counter->calls, 2);
  sleepMilliseconds(260);
  click(GLUT_LEFT_BUTTON, x, y);
  EXPECT_EQ(counter->calls, 2);
}

TEST_F(InputTest, theMenuDoesWhatItsEntriesSay) {
  Scene::GraphAnimator& a = scene->animator;
  Scene::Vertex* v = scene->vertex(0.0F, 0.0F, 0.0F);
  a.settle_timer.start();
  sleepMilliseconds(2);
  a.MenuFunc(0);
  EXPECT_NE(v->position, Scene::Vector());
  EXPECT_LT(a.settle_timer.wallSeconds(), 0.002);
  a.MenuFunc(2);
  EXPECT_FALSE(a.autozoom);
  a.MenuFunc(3);
  EXPECT_FALSE(scene->layout.parallel);
  a.MenuFunc(4);
  EXPECT_FALSE(a.show_labels);
  a.MenuFunc(99);
  EXPECT_EQ(glutGet(GLUT_MENU_NUM_ITEMS), 6);
}

TEST_F(InputTest, fullScreenGoesBackToTheSizeFromBefore) {
  Scene::GraphAnimator& a = scene->animator;
  const auto settleAt = [&a](int w, int h) {
    for (int i = 0; i < 200 && (a.window_w != w || a.window_h != h); ++i) {
      glutMainLoopEvent();
      sleepMilliseconds(5);
    }
    return a.window_w == w && a.window_h == h;
  };
  glutReshapeWindow(500, 350);
  ASSERT_TRUE(settleAt(500, 350));
  for (const bool byEscape : {true, false}) {
    a.MenuFunc(1);
    EXPECT_TRUE(a.fullscreen);
    EXPECT_TRUE(settleAt(glutGet(GLUT_SCREEN_WIDTH), glutGet(GLUT_SCREEN_HEIGHT)));
    if (byEscape) {
      press("\033");
    } else {
      a.MenuFunc(1);
    }
    EXPECT_FALSE(a.fullscreen);
    EXPECT_TRUE(settleAt(500, 350)) << a.window_w << " x " << a.window_h;
  }
}

}  // namespace
}  // namespace quorel
