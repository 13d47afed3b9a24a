#include <GL/freeglut.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "animator/Scene.h"
#include "layout/DynamicFrame.h"

namespace quorel {
namespace {

using Shape = VertexStyleDefns::Shape;
using Vector = Scene::Vector;

constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();

bool isLit(Pixel p) {
  return !p.isBlack();
}

class PictureTest : public testing::Test {
protected:
  void SetUp() override {
    if (scene == nullptr) GTEST_SKIP() << "no display";
  }

  /// Lit pixels within `reach` pixels of a point of the plane z = 0.
  int litAround(const Picture& picture, float x, float y, int reach) const {
    const int column = scene->column(x);
    const int row = scene->row(y);
    return picture.count(column - reach, row - reach, column + reach, row + reach, isLit);
  }

  Scene* scene = Scene::empty();
};

TEST_F(PictureTest, detailSmoothsRoundSolidsAndOnlyThose) {
  const auto lit = [this](Shape shape, int shapedetail) {
    scene = Scene::empty();
    Scene::Vertex* v = scene->vertex(0.0F, 0.0F, 0.0F);
    v->style.set_shape(shape);
    v->style.set_size(6.0);
    v->style.set_shapedetail(shapedetail);
    return scene->picture().lit();
  };
  EXPECT_GT(lit(Shape::sphere, 40), lit(Shape::sphere, 5));
  EXPECT_EQ(lit(Shape::sphere, 1), lit(Shape::sphere, 5));
  EXPECT_EQ(lit(Shape::sphere, 100), lit(Shape::sphere, 40));
  EXPECT_EQ(lit(Shape::cube, 40), lit(Shape::cube, 5));
}

TEST_F(PictureTest, theCameraTurnsAboutItsAxesOneAfterTheOther) {
  scene->hidden(0.0F, 0.0F, 0.0F);
  Scene::Vertex* v = scene->vertex(0.0F, 0.0F, 1.0F);
  v->style.set_size(0.5);
  scene->animator.camera_dist = -2.0;
  scene->animator.autozoom_dist = -1.0;
  scene->animator.angle_y = 90.0;
  EXPECT_GT(litAround(scene->picture(), 1.0F, 0.0F, 8), 0) << "z has turned to the right";
  scene->animator.angle_x = 90.0;
  scene->animator.angle_y = 0.0;
  EXPECT_GT(litAround(scene->picture(), 0.0F, -1.0F, 8), 0) << "z has turned down";
  v->start.position = Vector(1.0F, 0.0F, 0.0F);
  v->position = v->start.position;
  scene->animator.angle_x = 0.0;
  scene->animator.angle_z = 90.0;
  EXPECT_GT(litAround(scene->picture(), 0.0F, 1.0F, 8), 0) << "x has turned up";
  scene->animator.angle_y = 90.0;
  EXPECT_GT(litAround(scene->picture(), 0.0F, 1.0F, 8), 0) << "up stays up under a turn about the vertical";
}

TEST_F(PictureTest, aPictureBesideAStepShowsTheLastFinishedState) {
  Scene::Vertex* v = scene->vertex(1.0F, 0.0F, 0.0F);
  scene->layout.startStateValid = true;
  v->position = Vector(-1.0F, 0.0F, 0.0F);
  EXPECT_GT(litAround(scene->picture(), 1.0F, 0.0F, 5), 0);
  scene->layout.startStateValid = false;
  EXPECT_GT(litAround(scene->picture(), -1.0F, 0.0F, 5), 0);
}

TEST_F(PictureTest, aLabelHasExactlyItsFontColourWhateverStandsAround) {
  Scene::Vertex* v = scene->vertex(0.0F, 0.0F, 0.0F);
  v->style.set_label("label");
  v->style.set_color({0.0F, 0.0F, 1.0F});
  const auto labelled = [](Pixel p) { return p == Pixel{255, 102, 0}; };
  v->style.set_fontcolor({1.0F, 0.4F, 0.0F});
  const int expected = scene->picture().count(labelled);
  EXPECT_GT(expected, 50);
  Scene::Vertex* neighbour = scene->vertex(0.0F, -1.2F, 0.0F);
  neighbour->style.set_shape(Shape::sphere);
  neighbour->style.set_color({1.0F, 1.0F, 1.0F});
  for (int angle = 0; angle < 360; angle += 30) {
    scene->animator.angle_y = angle;
    v->style.set_shape(angle % 60 == 0 ? Shape::none : Shape::sphere);
    EXPECT_EQ(scene->picture().count(labelled), expected) << angle;
  }
  neighbour->style.set_visible(false);
  v->style.set_shape(Shape::none);
  for (int angle = 0; angle < 360; angle += 5) {
    scene->animator.angle_x = angle;
    scene->animator.angle_y = 3 * angle;
    EXPECT_EQ(scene->picture().count(labelled), expected) << "lit by no light from any side: " << angle;
  }
}

TEST_F(PictureTest, anyBytesMakeALabel) {
  Scene::Vertex* v = scene->hidden(-1.9F, 0.0F, 0.0F);
  Scene::Vertex* w = scene->vertex(-1.9F, 0.0F, 0.0F);
  w->style.set_shape(Shape::none);
  const auto lit = [&](const std::string& label) {
    w->style.set_label(label);
    return scene->picture().lit();
  };
  EXPECT_GT(lit("\xe9\xff"), 0) << "characters beyond the first 128";
  EXPECT_EQ(lit("a\nb"), lit("a") + lit("b")) << "a line feed leaves no mark";
  EXPECT_GT(lit(std::string(4096, 'x')), 300) << "only what fits into the window";
  v->style.set_label("a hidden vertex shows no label");
  w->style.set_label("");
  EXPECT_EQ(scene->picture().lit(), 0);
}

/// A horizontal edge through the middle between hidden ends; what is drawn of it.
class EdgePictureTest : public PictureTest {
protected:
  void SetUp() override {
    PictureTest::SetUp();
    if (scene == nullptr) return;
    edge = scene->edge(scene->hidden(-1.0F, 0.0F, 0.0F), scene->hidden(1.0F, 0.0F, 0.0F));
    length = scene->column(1.0F) - scene->column(-1.0F);
  }

  Scene::Edge* edge = nullptr;
  int length = 0;
};

TEST_F(EdgePictureTest, widthIsInPixelsAndLineStateIsBackToDefaultAfterwards) {
  edge->style.set_width(3.0);
  EXPECT_NEAR(scene->picture().lit(), 3 * length, 9);
  for (const double width : {3.0, 0.0, -1.0, static_cast<double>(notANumber)}) {
    edge->style.set_width(width);
    edge->style.set_stroke(width == 0.0 ? 0x3333 : 0xffff);
    scene->picture();
    GLfloat lineWidth = 0.0F;
    GLint pattern = 0;
    glGetFloatv(GL_LINE_WIDTH, &lineWidth);
    glGetIntegerv(GL_LINE_STIPPLE_PATTERN, &pattern);
    EXPECT_EQ(lineWidth, 1.0F) << width;
    EXPECT_EQ(pattern, 0xffff) << width;
    EXPECT_TRUE(glIsEnabled(GL_LINE_STIPPLE)) << width;
  }
}

TEST_F(EdgePictureTest, aLineHasExactlyItsColourWhateverWasDrawnBefore) {
  edge->style.set_color({1.0F, 0.4F, 0.2F});
  const auto coloured = [](Pixel p) { return p == Pixel{255, 102, 51}; };
  const int expected = scene->picture().count(coloured);
  EXPECT_NEAR(expected, length, 2);

  Scene::Vertex* left = scene->vertex(-1.0F, 1.2F, 0.0F);
  Scene::Vertex* right = scene->vertex(1.0F, 1.2F, 0.0F);
  Scene::Edge* other = scene->edge(left, right);
  other->style.set_label("other");
  for (int shape = Shape::none; shape <= Shape::icosahedron; ++shape) {
    left->style.set_shape(static_cast<Shape>(shape));
    right->style.set_shape(static_cast<Shape>(shape));
    other->style.set_arrow(shape % 2 == 0);
    EXPECT_EQ(scene->picture().count(coloured), expected) << shape;
  }
}

TEST_F(EdgePictureTest, anArrowLiesAlongItsEdgeInEveryDirection) {
  edge->style.set_visible(false);
  for (int i = 0; i < 24; ++i) {
    scene = Scene::empty();
    const double angle = i * 15.0 * 3.14159265358979 / 180.0;
    const auto x = static_cast<float>(std::cos(angle));
    const auto y = static_cast<float>(std::sin(angle));
    // With and without depth, which the turn of the cone comes from.
    const float z = i % 3 == 0 ? 0.0F : i % 3 == 1 ? 0.0004F : -0.3F;
    Scene::Edge* e = scene->edge(scene->hidden(0.0F, 0.0F, 0.0F), scene->hidden(x, y, z));
    e->style.set_stroke(0);
    e->style.set_arrow(true);
    e->style.set_arrow_length(10.0);
    e->style.set_arrow_radius(0.2);
    e->style.set_color({0.0F, 1.0F, 0.0F});
    const Picture picture = scene->picture();
    double along = 0.0;
    double across = 0.0;
    int pixels = 0;
    for (int row = 0; row < picture.height; ++row) {
      for (int column = 0; column < picture.width; ++column) {
        if (picture.at(column, row).isBlack()) continue;
        const double px = column + 0.5 - 0.5 * picture.width;
        const double py = row + 0.5 - 0.5 * picture.height;
        along += px * x + py * y;
        across += std::abs(py * x - px * y);
        ++pixels;
      }
    }
    ASSERT_GT(pixels, 40) << i;
    EXPECT_NEAR(along / pixels, 0.4 * 0.5 * picture.height / 3.0, 6.0) << i;
    EXPECT_LT(across / pixels, 3.0) << i;
  }
}

TEST_F(PictureTest, forcesAreMarksOfLengthOne) {
  Scene::Vertex* v = scene->hidden(0.0F, 0.0F, 0.0F);
  scene->animator.show_forces = true;
  EXPECT_EQ(scene->picture().lit(), 0) << "nothing pushes";
  v->finishedAcceleration = Vector(0.001F, 0.0F, 0.0F);
  const Picture picture = scene->picture();
  EXPECT_NEAR(picture.count([](Pixel p) {
    return p == Pixel{255, 255, 0};
  }),
              scene->column(1.0F) - scene->column(0.0F), 2);
  v->finishedAcceleration = Vector(notANumber, 0.0F, 0.0F);
  EXPECT_EQ(scene->picture().lit(), 0);
}

TEST_F(PictureTest, theMovingFrameIsThreeAxesAndASphereOfRings) {
  scene->animator.camera_dist = -8.0;
  scene->picture();
  DynamicFrame<float> frame;
  frame.c0 = Vector(0.0F, 1.0F, 0.0F);
  glPushMatrix();
  glTranslatef(0.0F, 0.0F, 0.0F);
  scene->animator.drawFrame(&frame);
  scene->animator.drawFrame(nullptr);
  glPopMatrix();
  const Picture picture(Scene::width, Scene::height);
  EXPECT_GT(picture.count([](Pixel p) { return p == Pixel{255, 255, 0}; }), 60) << "axes";
  EXPECT_GT(picture.count([](Pixel p) { return p.red == 204 && p.blue == 0; }), 60) << "equator";
  EXPECT_GT(picture.count([](Pixel p) { return p.red > 70 && p.red < 80 && p.blue == 0; }), 500) << "rings";
  EXPECT_GT(litAround(picture, 0.0F, 1.0F, 4), 0) << "moved with its offset";
}

TEST_F(PictureTest, badNumbersSpoilNothingButTheirOwnVertex) {
  scene->vertex(0.0F, 0.0F, 0.0F);
  const Picture good = scene->picture();
  Scene::Vertex* lost = scene->vertex(notANumber, 0.0F, 0.0F);
  lost->style.set_label("nowhere");
  Scene::Vertex* shapeless = scene->vertex(0.0F, 0.0F, 0.0F);
  shapeless->style.set_size(static_cast<double>(notANumber));
  Scene::Edge* e = scene->edge(lost, shapeless);
  e->style.set_arrow(true);
  e->style.set_showstrain(true);
  e->style.set_label("nowhere");
  for (int shape = Shape::sphere; shape <= Shape::icosahedron; ++shape) {
    shapeless->style.set_shape(static_cast<Shape>(shape));
    lost->style.set_shape(static_cast<Shape>(shape));
    EXPECT_EQ(scene->picture().differences(good), 0) << shape;
  }
  EXPECT_TRUE(isFinite(scene->layout.centroid));
  EXPECT_TRUE(isFinite(scene->layout.eigenvalues));
  EXPECT_DOUBLE_EQ(scene->animator.mean_edge_length, 1.0);
}

}  // namespace
}  // namespace quorel
