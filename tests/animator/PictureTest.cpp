#include <GL/freeglut.h>

#include <limits>

#include "animator/Scene.h"
#include "layout/DynamicFrame.h"

namespace quorel {
namespace {

using Vector = Scene::Vector;

constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();

class PictureTest : public SceneTest {
protected:
  /// That something is seen, and only about that point of the plane z = 0.
  void expectSeenAt(float x, float y, const std::string& what) {
    const Spots spots = scene.picture().spots();
    EXPECT_GT(spots.count, 0) << what;
    EXPECT_NEAR(0.5 * (spots.left + spots.right), scene.column(x), 4) << what;
    EXPECT_NEAR(0.5 * (spots.bottom + spots.top), scene.row(y), 4) << what;
  }
};

TEST_F(PictureTest, eachShapeHasItsOutline) {
  const struct {
    Shape shape;
    double least, most;  // how much of its box it fills
  } cases[] = {{Shape::sphere, 0.74, 0.82},       {Shape::cone, 0.74, 0.82},      {Shape::torus, 0.55, 0.76},
               {Shape::tetrahedron, 0.3, 0.9},    {Shape::cube, 0.97, 1.01},      {Shape::octahedron, 0.47, 0.56},
               {Shape::dodecahedron, 0.65, 0.92}, {Shape::icosahedron, 0.6, 0.92}};
  Scene::Vertex* v = scene.vertex(0.0F, 0.0F, 0.0F);
  v->style.set_size(6.0);
  v->style.set_shapedetail(40);
  std::vector<Picture> pictures;
  for (const auto& [shape, least, most] : cases) {
    v->style.set_shape(shape);
    pictures.push_back(scene.picture());
    const Spots spots = pictures.back().spots();
    const double filled = static_cast<double>(spots.count) / (spots.width() * spots.height());
    EXPECT_TRUE(least < filled && filled < most) << shape << " fills " << filled;
    EXPECT_EQ(isLit(pictures.back().at(Scene::width / 2, Scene::height / 2)), shape != Shape::torus) << shape;
  }
  for (std::size_t i = 0; i < pictures.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) EXPECT_GT(pictures[i].differences(pictures[j]), 100) << i << ' ' << j;
  }
  v->style.set_shape(Shape::none);
  EXPECT_EQ(scene.picture().count(), 0);
}

TEST_F(PictureTest, sizeIsSeenAndDetailSmoothsRoundSolidsAndOnlyThose) {
  Scene::Vertex* v = scene.vertex(0.0F, 0.0F, 0.0F);
  const auto seen = [&](Shape shape, double size, int shapedetail) {
    v->style.set_shape(shape);
    v->style.set_size(size);
    v->style.set_shapedetail(shapedetail);
    return scene.picture().spots();
  };
  EXPECT_GT(seen(Shape::sphere, 6.0, 40).count, seen(Shape::sphere, 6.0, 5).count);
  EXPECT_EQ(seen(Shape::cube, 6.0, 40).count, seen(Shape::cube, 6.0, 5).count);
  // Half a side of 0.4 or 0.8, seen from its front face's distance.
  EXPECT_NEAR(seen(Shape::cube, 2.0, 0).width(), Scene::height * 0.2 / 2.8, 2);
  EXPECT_NEAR(seen(Shape::cube, 4.0, 0).width(), Scene::height * 0.4 / 2.6, 2);
}

TEST_F(PictureTest, theCameraTurnsAboutItsAxesOneAfterTheOther) {
  Scene::Vertex* v = scene.vertex(0.0F, 0.0F, 1.0F);
  v->style.set_size(0.5);
  animator.camera_dist = -2.0;
  animator.autozoom_dist = -1.0;
  animator.angle_y = 90.0;
  expectSeenAt(1.0F, 0.0F, "z has turned to the right");
  animator.angle_x = 90.0;
  animator.angle_y = 0.0;
  expectSeenAt(0.0F, -1.0F, "z has turned down");
  Scene::move(v, Vector(1.0F, 0.0F, 0.0F));
  animator.angle_x = 0.0;
  animator.angle_z = 90.0;
  expectSeenAt(0.0F, 1.0F, "x has turned up");
  animator.angle_y = 90.0;
  expectSeenAt(0.0F, 1.0F, "up stays up under a turn about the vertical");
}

TEST_F(PictureTest, aPictureBesideAStepShowsTheLastFinishedState) {
  Scene::Vertex* v = scene.vertex(1.0F, 0.0F, 0.0F);
  layout.startStateValid = true;
  v->position = Vector(-1.0F, 0.0F, 0.0F);
  expectSeenAt(1.0F, 0.0F, "the state of the start");
  layout.startStateValid = false;
  expectSeenAt(-1.0F, 0.0F, "the particle's own");
}

TEST_F(PictureTest, aLabelStandsAboveItsSolidOrOnThePointInItsFont) {
  Scene::Vertex* v = scene.vertex(0.0F, 0.0F, 0.0F);
  v->style.set_label("mmmm");
  v->style.set_size(2.0);
  const auto text = [this] { return scene.picture().spots([](Pixel p) { return p == Pixel{255, 255, 255}; }); };
  EXPECT_NEAR(text().left, scene.column(0.0F), 2);
  EXPECT_NEAR(text().bottom, scene.row(1.2F * 0.4F), 2);
  v->style.set_shape(Shape::none);
  EXPECT_NEAR(text().left, scene.column(0.0F), 2);
  EXPECT_NEAR(text().bottom, scene.row(0.0F), 2);
  const auto width = [&](const char* family, int size) {
    v->style.set_fontfamily(family);
    v->style.set_fontsize(size);
    return text().width();
  };
  EXPECT_LT(width("Helvetica", 10), width("Helvetica", 12));
  EXPECT_LT(width("Helvetica", 12), width("Helvetica", 18));
  EXPECT_LT(width("Times Roman", 10), 0.7 * width("Times Roman", 24));
  EXPECT_EQ(width("no such font", 40), width("Helvetica", 18));
}

TEST_F(PictureTest, anyBytesMakeALabel) {
  Scene::Vertex* v = scene.hidden(-1.9F, 0.0F, 0.0F);
  Scene::Vertex* w = scene.vertex(-1.9F, 0.0F, 0.0F);
  w->style.set_shape(Shape::none);
  const auto lit = [&](const std::string& label) {
    w->style.set_label(label);
    return scene.picture().count();
  };
  EXPECT_GT(lit("\xe9\xff"), 0) << "characters beyond the first 128";
  EXPECT_EQ(lit("a\nb"), lit("a") + lit("b")) << "a line feed leaves no mark";
  EXPECT_GT(lit(std::string(4096, 'x')), 300) << "only what fits into the window";
  v->style.set_label("a hidden vertex shows no label");
  EXPECT_EQ(lit(""), 0);
}

/// A horizontal edge through the middle between hidden ends; what is drawn of it.
class EdgePictureTest : public PictureTest {
protected:
  Scene::Edge* edge = scene.edge(scene.hidden(-1.0F, 0.0F, 0.0F), scene.hidden(1.0F, 0.0F, 0.0F));
  int length = scene.column(1.0F) - scene.column(-1.0F);
};

TEST_F(EdgePictureTest, strokeAndWidthAreInPixelsAndLineStateIsBackToDefaultAfterwards) {
  const struct {
    int stroke;
    double lit;        // of the line
    double dashCount;  // in a pixel of its length
  } cases[] = {{0xffff, 1.0, 0.0}, {0xf0f0, 0.5, 1.0 / 8.0}, {0x3333, 0.5, 1.0 / 4.0}, {0, 0.0, 0.0}};
  for (const auto& [stroke, lit, dashCount] : cases) {
    for (const double width : {1.0, 3.0, 0.0, -1.0, static_cast<double>(notANumber)}) {
      edge->style.set_width(width);
      edge->style.set_stroke(stroke);
      const Picture picture = scene.picture();
      const Spots spots = picture.spots();
      EXPECT_NEAR(spots.count, lit * length * (width == 3.0 ? 3 : 1), 9) << stroke << ' ' << width;
      int dashes = 0;
      for (int x = spots.left; x < spots.right; ++x) {
        dashes += isLit(picture.at(x, spots.bottom)) && !isLit(picture.at(x - 1, spots.bottom)) ? 1 : 0;
      }
      EXPECT_NEAR(dashes, dashCount * length, 1.0) << stroke << ' ' << width;
      GLfloat lineWidth = 0.0F;
      GLint pattern = 0;
      glGetFloatv(GL_LINE_WIDTH, &lineWidth);
      glGetIntegerv(GL_LINE_STIPPLE_PATTERN, &pattern);
      EXPECT_EQ(lineWidth, 1.0F) << width;
      EXPECT_EQ(pattern, 0xffff) << width;
      EXPECT_TRUE(glIsEnabled(GL_LINE_STIPPLE)) << width;
    }
  }
}

TEST_F(EdgePictureTest, linesAndLabelsHaveExactlyTheirColourWhateverIsDrawnBesideThemAndLitFromNoSide) {
  edge->style.set_color({1.0F, 0.4F, 0.2F});
  edge->style.set_label("label");
  edge->style.set_fontcolor({1.0F, 0.4F, 0.0F});
  const auto coloured = [this](int blue) {
    return scene.picture().count([blue](Pixel p) { return p == Pixel{255, 102, blue}; });
  };
  const int line = coloured(51);
  const int label = coloured(0);
  EXPECT_NEAR(line, length, 2);
  EXPECT_GT(label, 50);
  Scene::Vertex* left = scene.vertex(-1.0F, 1.2F, 0.0F);
  Scene::Vertex* right = scene.vertex(1.0F, -1.2F, 0.0F);
  left->style.set_label("other");
  right->style.set_color({1.0F, 1.0F, 1.0F});
  Scene::Edge* other = scene.edge(left, scene.hidden(1.0F, 1.2F, 0.0F));
  for (int i = 0; i < 18; ++i) {
    left->style.set_shape(static_cast<Shape>(i % 9));
    right->style.set_shape(static_cast<Shape>(i % 9));
    other->style.set_arrow(i % 2 == 0);
    EXPECT_EQ(coloured(51), line) << i;
    animator.angle_x = 20 * (i % 3);
    animator.angle_y = 45 * i;
    EXPECT_EQ(coloured(0), label) << i;
    animator.angle_x = animator.angle_y = 0.0;
  }
}

TEST_F(EdgePictureTest, strainIsBlueWherePressedWhiteAtTheMeanAndRedWhereStretched) {
  edge->style.set_showstrain(true);
  for (const float half : {0.5F, 1.5F}) {
    scene.edge(scene.hidden(-half, half, 0.0F), scene.hidden(half, half, 0.0F))->style.set_showstrain(true);
  }
  scene.picture();  // the mean is the last picture's
  const Picture picture = scene.picture();
  EXPECT_NEAR(picture.count([](Pixel p) { return p == Pixel{0, 0, 255}; }), length / 2, 2);
  EXPECT_NEAR(picture.count([](Pixel p) { return p == Pixel{255, 255, 255}; }), length, 2);
  EXPECT_NEAR(picture.count([](Pixel p) { return p.red > 120 && p.red < 135 && p.blue == 0; }), 1.5 * length, 2);
}

TEST_F(EdgePictureTest, anArrowHasThePlaceMeasuresAndDirectionOfItsStyle) {
  edge->style.set_stroke(0);
  edge->style.set_arrow(true);
  const struct {
    double position, length, radius;
    bool reverse;
    float left, right;
  } cases[] = {
      {0.5, 4.0, 1.0, false, -0.2F, 0.2F}, {0.5, 8.0, 0.5, true, -0.4F, 0.4F}, {0.0, 4.0, 1.0, false, -0.8F, -0.4F}};
  for (const auto& [position, arrowLength, radius, reverse, left, right] : cases) {
    edge->style.set_arrow_position(position);
    edge->style.set_arrow_length(arrowLength);
    edge->style.set_arrow_radius(radius);
    edge->style.set_arrow_reverse(reverse);
    const Picture picture = scene.picture();
    const Spots spots = picture.spots();
    EXPECT_NEAR(spots.left, scene.column(left), 4);
    EXPECT_NEAR(spots.right, scene.column(right), 4);
    EXPECT_NEAR(spots.height(), Scene::height * (right - left) * radius / 6.0, 3);
    const int nearRight = spots.right - spots.width() / 4;
    bool isBlunt = false;
    for (int y = spots.bottom; y < spots.bottom + spots.height() / 4; ++y) isBlunt |= isLit(picture.at(nearRight, y));
    EXPECT_EQ(isBlunt, reverse);
  }
}

TEST_F(EdgePictureTest, aCurveFollowsItsKnotsWhichComeAndGoWithTheStyle) {
  edge->style.set_knots(4);
  scene.picture();  // finds the knots missing
  ASSERT_EQ(layout.numVertices(), 4);
  const std::vector<Scene::Vertex*>& knots = *layout.knots.at(edge);
  Scene::move(knots[1], Vector(-0.3F, 1.0F, 0.0F));
  Scene::move(knots[2], Vector(0.3F, 1.0F, 0.0F));
  const Spots curve = scene.picture().spots();
  EXPECT_NEAR(curve.width(), length, 2);
  EXPECT_NEAR(curve.top, scene.row(0.75F), 2) << "as high as a cubic between its hull's corners";
  edge->style.set_knots(2);
  EXPECT_EQ(scene.picture().spots().height(), 1);
  EXPECT_EQ(layout.numVertices(), 2);
}

TEST_F(EdgePictureTest, aLabelStandsAtTheMiddleAndGoesWithItsEdge) {
  edge->style.set_stroke(0);
  edge->style.set_label("mmmm");
  const Spots text = scene.picture().spots();
  EXPECT_GT(text.count, 40);
  EXPECT_NEAR(text.left, scene.column(0.0F), 2);
  EXPECT_NEAR(text.bottom, scene.row(0.0F), 2);
  edge->style.set_stroke(0xffff);
  edge->style.set_visible(false);
  EXPECT_EQ(scene.picture().count(), 0);
}

TEST_F(PictureTest, forcesAreMarksOfLengthOne) {
  Scene::Vertex* v = scene.hidden(0.0F, 0.0F, 0.0F);
  animator.show_forces = true;
  EXPECT_EQ(scene.picture().count(), 0) << "nothing pushes";
  v->finishedAcceleration = Vector(0.001F, 0.0F, 0.0F);
  const int marked = scene.picture().count([](Pixel p) { return p == Pixel{255, 255, 0}; });
  EXPECT_NEAR(marked, scene.column(1.0F) - scene.column(0.0F), 2);
  v->finishedAcceleration = Vector(notANumber, 0.0F, 0.0F);
  EXPECT_EQ(scene.picture().count(), 0);
}

TEST_F(PictureTest, theTreeOfTheRepulsionIsShownAsBoxes) {
  for (int i = 0; i < 40; ++i) scene.hidden(0.1F * static_cast<float>(i % 8), 0.1F * static_cast<float>(i / 8), -0.5F);
  const auto boxes = [this] { return scene.picture().count([](Pixel p) { return p == Pixel{0, 255, 0}; }); };
  for (const char* key : {"t", "T"}) {
    EXPECT_EQ(boxes(), 0);
    scene.press(key);
    EXPECT_GT(boxes(), 300);
    scene.press(key);
  }
}

TEST_F(PictureTest, theMovingFrameIsThreeAxesAndASphereOfRings) {
  animator.camera_dist = -8.0;
  scene.picture();
  DynamicFrame<float> frame;
  frame.c0 = Vector(0.0F, 1.0F, 0.0F);
  animator.drawFrame(&frame);
  animator.drawFrame(nullptr);
  const Picture picture;
  EXPECT_GT(picture.count([](Pixel p) { return p == Pixel{255, 255, 0}; }), 60) << "axes";
  EXPECT_GT(picture.count([](Pixel p) { return p.red == 204 && p.blue == 0; }), 60) << "equator";
  EXPECT_GT(picture.count([](Pixel p) { return p.red > 70 && p.red < 80 && p.blue == 0; }), 500) << "rings";
  EXPECT_TRUE(isLit(picture.at(scene.column(0.0F), scene.row(1.0F)))) << "moved with its offset";
}

TEST_F(PictureTest, badNumbersSpoilNothingButTheirOwnVertex) {
  scene.vertex(0.0F, 0.0F, 0.0F);
  const Picture good = scene.picture();
  Scene::Vertex* lost = scene.vertex(notANumber, 0.0F, 0.0F);
  lost->style.set_label("nowhere");
  Scene::Vertex* shapeless = scene.vertex(0.0F, 0.0F, 0.0F);
  shapeless->style.set_size(static_cast<double>(notANumber));
  Scene::Edge* e = scene.edge(lost, shapeless);
  e->style.set_arrow(true);
  e->style.set_showstrain(true);
  e->style.set_label("nowhere");
  for (int shape = Shape::sphere; shape <= Shape::icosahedron; ++shape) {
    shapeless->style.set_shape(static_cast<Shape>(shape));
    lost->style.set_shape(static_cast<Shape>(shape));
    EXPECT_EQ(scene.picture().differences(good), 0) << shape;
  }
  EXPECT_TRUE(isFinite(layout.centroid));
  EXPECT_TRUE(isFinite(layout.eigenvalues));
  EXPECT_DOUBLE_EQ(animator.mean_edge_length, 1.0);
}

}  // namespace
}  // namespace quorel
