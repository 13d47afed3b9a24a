#include <GL/freeglut.h>

#include <cstdlib>
#include <limits>
#include <tuple>

#include "animator/Scene.h"
#include "layout/DynamicFrame.h"

namespace quorel {
namespace {

using Vector = Scene::Vector;

constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();

class PictureTest : public SceneTest {
protected:
  int lit(Pixel colour) {
    return scene.picture().count([colour](Pixel p) { return p == colour; });
  }

  /// That something is seen, and only about that point of the plane z = 0.
  void expectSeenAt(float x, float y, const std::string& what) {
    const Spots spots = scene.picture().spots();
    EXPECT_GT(spots.count, 0) << what;
    EXPECT_NEAR(0.5 * (spots.left + spots.right), scene.column(x), 4) << what;
    EXPECT_NEAR(0.5 * (spots.bottom + spots.top), scene.row(y), 4) << what;
  }
};

constexpr Pixel white = {255, 255, 255};
constexpr Pixel yellow = {255, 255, 0};

TEST_F(PictureTest, eachShapeHasItsOutlineAndSizeAndRoundOnesTheirDetail) {
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
    const Picture picture = scene.picture();
    const Spots spots = picture.spots();
    const double filled = static_cast<double>(spots.count) / (spots.width() * spots.height());
    EXPECT_TRUE(least < filled && filled < most) << shape << " fills " << filled;
    EXPECT_EQ(isLit(picture.at(Scene::width / 2, Scene::height / 2)), shape != Shape::torus) << shape;
    for (const Picture& other : pictures) EXPECT_GT(picture.differences(other), 100) << shape;
    pictures.push_back(picture);
  }
  v->style.set_shape(Shape::none);
  EXPECT_EQ(scene.picture().count(), 0);
  v->style.set_shape(Shape::sphere);
  v->style.set_shapedetail(5);
  EXPECT_LT(scene.picture().count(), pictures[0].count());
  v->style.set_shape(Shape::cube);
  for (const double size : {2.0, 4.0}) {
    v->style.set_size(size);
    // Half a side, seen from the distance of its front.
    EXPECT_NEAR(scene.picture().spots().width(), Scene::height * 0.1 * size / (3.0 - 0.1 * size), 2);
  }
}

TEST_F(PictureTest, theCameraTurnsAboutItsAxesOneAfterTheOther) {
  Scene::Vertex* v = scene.vertex(0.0F, 0.0F, 0.0F);
  v->style.set_size(0.5);
  animator.camera_dist = -2.0;
  animator.autozoom_dist = -1.0;
  const struct {
    Vector place, angles;
    float x, y;
    const char* what;
  } cases[] = {{{0, 0, 1}, {0, 90, 0}, 1, 0, "z has turned to the right"},
               {{0, 0, 1}, {90, 0, 0}, 0, -1, "z has turned down"},
               {{1, 0, 0}, {0, 0, 90}, 0, 1, "x has turned up"},
               {{1, 0, 0}, {0, 90, 90}, 0, 1, "up stays up under a turn about the vertical"}};
  for (const auto& [place, angles, x, y, what] : cases) {
    Scene::move(v, place);
    std::tie(animator.angle_x, animator.angle_y, animator.angle_z) = std::tuple(angles[0], angles[1], angles[2]);
    expectSeenAt(x, y, what);
  }
}

TEST_F(PictureTest, aPictureBesideAStepShowsTheLastFinishedState) {
  Scene::Vertex* v = scene.vertex(1.0F, 0.0F, 0.0F);
  layout.startStateValid = true;
  v->position = Vector(-1.0F, 0.0F, 0.0F);
  expectSeenAt(1.0F, 0.0F, "the state of the start");
  layout.startStateValid = false;
  expectSeenAt(-1.0F, 0.0F, "the particle's own");
}

TEST_F(PictureTest, aLabelStandsAboveItsSolidOrOnThePointInTheNearestFontOfItsFamily) {
  Scene::Vertex* v = scene.vertex(0.0F, 0.0F, 0.0F);
  v->style.set_label("WWWWWWWW");
  v->style.set_size(2.0);
  scene.hidden(-1.0F, -1.0F, 0.0F)->style.set_label("a hidden vertex shows no label");
  const auto text = [this] { return scene.picture().spots([](Pixel p) { return p == white; }); };
  for (const auto& [shape, y] : {std::pair{Shape::cube, 1.2F * 0.4F}, {Shape::none, 0.0F}}) {
    v->style.set_shape(shape);
    EXPECT_NEAR(text().left, scene.column(0.0F), 2);
    EXPECT_NEAR(text().bottom, scene.row(y), 2);
  }
  for (const auto& [family, size, font] : {std::tuple{"Times Roman", 18, GLUT_BITMAP_TIMES_ROMAN_10},
                                           {"Times Roman", 19, GLUT_BITMAP_TIMES_ROMAN_24},
                                           {"Helvetica", 10, GLUT_BITMAP_HELVETICA_10},
                                           {"Helvetica", 11, GLUT_BITMAP_HELVETICA_12},
                                           {"Helvetica", 12, GLUT_BITMAP_HELVETICA_12},
                                           {"Helvetica", 13, GLUT_BITMAP_HELVETICA_18},
                                           {"times roman", 24, GLUT_BITMAP_HELVETICA_18}}) {
    v->style.set_fontfamily(family);
    v->style.set_fontsize(size);
    EXPECT_NEAR(text().width(), glutBitmapLength(font, reinterpret_cast<const unsigned char*>("WWWWWWWW")), 3)
        << family << ' ' << size;
  }
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
      GLint state[2];
      glGetIntegerv(GL_LINE_WIDTH, &state[0]);
      glGetIntegerv(GL_LINE_STIPPLE_PATTERN, &state[1]);
      EXPECT_TRUE(state[0] == 1 && state[1] == 0xffff && glIsEnabled(GL_LINE_STIPPLE)) << width;
    }
  }
}

TEST_F(EdgePictureTest, linesAndLabelsHaveExactlyTheirColourWhateverIsDrawnBesideThemAndLitFromNoSide) {
  edge->style.set_color({1.0F, 0.4F, 0.2F});
  edge->style.set_label("label");
  edge->style.set_fontcolor({1.0F, 0.4F, 0.0F});
  const auto line = [this] { return lit({255, 102, 51}); };
  const auto label = [this] { return lit({255, 102, 0}); };
  EXPECT_NEAR(line(), length, 2);
  const int lineAlone = line();
  const int labelAlone = label();
  EXPECT_GT(labelAlone, 50);
  Scene::Vertex* left = scene.vertex(-1.0F, 1.2F, 0.0F);
  Scene::Vertex* right = scene.vertex(1.0F, -1.2F, 0.0F);
  left->style.set_label("other");
  right->style.set_color({1.0F, 1.0F, 1.0F});
  Scene::Edge* other = scene.edge(left, scene.hidden(1.0F, 1.2F, 0.0F));
  for (int i = 0; i < 18; ++i) {
    left->style.set_shape(static_cast<Shape>(i % 9));
    right->style.set_shape(static_cast<Shape>(i % 9));
    other->style.set_arrow(i % 2 == 0);
    EXPECT_EQ(line(), lineAlone) << i;
    animator.angle_x = 20 * (i % 3);
    animator.angle_y = 45 * i;
    EXPECT_EQ(label(), labelAlone) << i;
    animator.angle_x = animator.angle_y = 0.0;
  }
}

TEST_F(EdgePictureTest, strainIsWhiteAtTheMeanRedWhereStretchedAndBlueThreeTimesAsFastWhereCompressed) {
  // Half lengths, the mean of which is that of the edge in the middle.
  const std::pair<float, Pixel> cases[] = {
      {1.0F, white}, {0.9F, {178, 178, 255}}, {1.1F, {204, 178, 178}}, {0.5F, {0, 0, 255}}, {1.5F, {127, 0, 0}}};
  edge->style.set_showstrain(true);
  float y = 0.0F;
  for (const auto& [half, colour] : cases) {
    if (half != 1.0F) scene.edge(scene.hidden(-half, y, 0.0F), scene.hidden(half, y, 0.0F))->style.set_showstrain(true);
    y += 0.2F;
  }
  scene.picture();  // the mean is the last picture's
  const Picture picture = scene.picture();
  for (const auto& [half, colour] : cases) {
    const auto isNear = [&colour](Pixel p) {
      return std::abs(p.red - colour.red) + std::abs(p.green - colour.green) + std::abs(p.blue - colour.blue) < 4;
    };
    EXPECT_NEAR(picture.count(isNear), half * static_cast<float>(length), 2) << half;
  }
}

TEST_F(EdgePictureTest, anArrowHasThePlaceMeasuresAndDirectionOfItsStyle) {
  edge->style.set_stroke(0);
  edge->style.set_arrow(true);
  edge->style.set_arrow_position(0.25);
  edge->style.set_arrow_length(8.0);
  edge->style.set_arrow_radius(0.5);
  for (const bool reverse : {false, true}) {
    edge->style.set_arrow_reverse(reverse);
    const Picture picture = scene.picture();
    const Spots spots = picture.spots();
    EXPECT_NEAR(spots.left, scene.column(-0.6F), 4);
    EXPECT_NEAR(spots.right, scene.column(0.2F), 4);
    EXPECT_NEAR(spots.height(), scene.row(0.2F) - scene.row(-0.2F), 3);
    int nearRight = 0;
    for (int y = spots.bottom; y < spots.top; ++y)
      nearRight += isLit(picture.at(spots.right - spots.width() / 4, y)) ? 1 : 0;
    EXPECT_NEAR(nearRight, spots.height() * (reverse ? 0.75 : 0.25), 3) << "its broad end";
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
  EXPECT_NEAR(lit(yellow), scene.column(1.0F) - scene.column(0.0F), 2);
  v->finishedAcceleration = Vector(notANumber, 0.0F, 0.0F);
  EXPECT_EQ(scene.picture().count(), 0);
}

TEST_F(PictureTest, theTreeOfTheRepulsionIsShownAsBoxes) {
  for (int i = 0; i < 40; ++i) scene.hidden(0.1F * static_cast<float>(i % 8), 0.1F * static_cast<float>(i / 8), -0.5F);
  for (const char* key : {"t", "T"}) {
    EXPECT_EQ(lit({0, 255, 0}), 0);
    scene.press(key);
    EXPECT_GT(lit({0, 255, 0}), 300);
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
  EXPECT_GT(picture.count([](Pixel p) { return p == yellow; }), 60) << "axes";
  EXPECT_GT(picture.count([](Pixel p) { return p.red == 204 && p.blue == 0; }), 60) << "equator";
  EXPECT_GT(picture.count([](Pixel p) { return p.red > 70 && p.red < 80 && p.blue == 0; }), 500) << "rings";
  EXPECT_TRUE(isLit(picture.at(scene.column(0.0F), scene.row(1.0F)))) << "moved with its offset";
}

TEST_F(PictureTest, badNumbersSpoilNothingButTheirOwnVertex) {
  scene.vertex(0.0F, 0.0F, 0.0F);
  const Picture good = scene.picture();
  Scene::Vertex* lost = scene.vertex(0.0F, 0.0F, 0.0F);
  Scene::Vertex* shapeless = scene.vertex(0.0F, 0.0F, 0.0F);
  shapeless->style.set_size(static_cast<double>(notANumber));
  Scene::Edge* e = scene.edge(lost, shapeless);
  e->style.set_arrow(true);
  e->style.set_showstrain(true);
  lost->style.set_label("nowhere");
  e->style.set_label("nowhere");
  for (int shape = Shape::sphere; shape <= Shape::icosahedron; ++shape) {
    shapeless->style.set_shape(static_cast<Shape>(shape));
    lost->style.set_shape(static_cast<Shape>(shape));
    for (const float bad : {notANumber, std::numeric_limits<float>::infinity()}) {
      Scene::move(lost, {bad, bad, 0.0F});
      EXPECT_EQ(scene.picture().differences(good), 0) << shape << ' ' << bad;
      EXPECT_TRUE(isFinite(layout.centroid) && isFinite(layout.eigenvalues)) << bad;
      EXPECT_EQ(layout.axes[0][0], 1.0F) << bad;
      EXPECT_DOUBLE_EQ(animator.mean_edge_length, 1.0) << bad;
    }
  }
}

}  // namespace
}  // namespace quorel
