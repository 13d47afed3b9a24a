#include "animator/BatchPainter.h"

#include <GL/freeglut.h>
#include <gtest/gtest.h>

#include <random>

#include "animator/Scene.h"

namespace quorel {
namespace {

using Shape = VertexStyleDefns::Shape;
using Vector = Scene::Vector;

/// Scenes of which the picture drawn in batches has to be the one drawn piece by piece, in every pixel.
class BatchPainterTest : public testing::Test {
protected:
  static constexpr unsigned seed = 20738;

  void SetUp() override {
    if (scene == nullptr) GTEST_SKIP() << "no display";
  }

  float uniform(float from, float to) { return std::uniform_real_distribution<float>(from, to)(random); }
  int pick(int count) { return std::uniform_int_distribution<int>(0, count - 1)(random); }
  Vector colour() { return {uniform(0, 1), uniform(0, 1), uniform(0, 1)}; }

  std::string words() {
    std::string text;
    for (int i = 1 + pick(12); i > 0; --i) text += static_cast<char>(1 + pick(255));
    return text;
  }

  std::vector<Scene::Vertex*> ball(int count, float radius) {
    std::vector<Scene::Vertex*> vertices;
    while (static_cast<int>(vertices.size()) < count) {
      const Vector place(uniform(-radius, radius), uniform(-radius, radius), uniform(-radius, radius));
      if (length(place) < radius) vertices.push_back(scene->vertex(place[0], place[1], place[2]));
    }
    return vertices;
  }

  template <class Style>
  void giveLabel(Style& style) {
    style.set_label(words());
    style.set_fontcolor(colour());
    style.set_fontsize(8 + pick(14));
    if (pick(2) == 0) style.set_fontfamily("Times Roman");
  }

  void giveLooks(Scene::Vertex* v) {
    v->style.set_shape(static_cast<Shape>(pick(9)));
    v->style.set_color(colour());
    v->style.set_size(pick(2) == 0 ? 0.7 : 1.6);
    if (pick(3) == 0) v->style.set_shapedetail(17);
    if (pick(8) == 0) v->style.set_visible(false);
    if (pick(2) == 0) giveLabel(v->style);
    v->finishedAcceleration = Vector(uniform(-1, 1), uniform(-1, 1), uniform(-1, 1));
  }

  void giveLooks(Scene::Edge* e) {
    e->style.set_color(colour());
    if (pick(3) == 0) e->style.set_stroke(pick(2) == 0 ? 0xf0f0 : 0x3333);
    if (pick(3) == 0) e->style.set_width(uniform(0.0F, 6.0F));
    if (pick(4) == 0) e->style.set_showstrain(true);
    if (pick(3) == 0) {
      e->style.set_arrow(true);
      e->style.set_arrow_position(uniform(0, 1));
      e->style.set_arrow_length(pick(2) == 0 ? 1.0 : 3.5);
      e->style.set_arrow_radius(pick(2) == 0 ? 0.5 : 1.0);
      e->style.set_arrow_reverse(pick(2) == 0);
    }
    if (pick(10) == 0) e->style.set_knots(4);
    if (pick(2) == 0) giveLabel(e->style);
  }

  Picture drawn(bool inBatches) {
    scene->animator.batching = inBatches;
    // What the next picture takes over from the last.
    scene->animator.detail = 10.0;
    scene->animator.mean_edge_length = 1.0;
    return scene->picture();
  }

  void expectSamePicture(const std::string& what) {
    const Picture plain = drawn(false);
    ASSERT_GT(plain.lit(), 0) << what;
    EXPECT_EQ(drawn(true).differences(plain), 0) << what << " seed " << seed;
    EXPECT_EQ(drawn(true).differences(plain), 0) << what << ", from the lists of the last picture, seed " << seed;
  }

  void turn(int i) {
    scene->animator.angle_x = i == 0 ? 0.0 : uniform(0, 360);
    scene->animator.angle_y = i == 0 ? 0.0 : uniform(0, 360);
  }

  std::mt19937 random{seed};
  Scene* scene = Scene::empty();
};

TEST_F(BatchPainterTest, everyKindOfPieceTogether) {
  const std::vector<Scene::Vertex*> vertices = ball(200, 2.0F);
  for (Scene::Vertex* v : vertices) giveLooks(v);
  for (int i = 0; i < 300; ++i) {
    Scene::Vertex* source = vertices[pick(200)];
    Scene::Vertex* target = vertices[pick(200)];
    giveLooks(scene->edge(source, target));
  }
  scene->animator.show_forces = true;
  scene->animator.axes_hidden = 0;
  scene->animator.autozoom_dist = -1.0;
  scene->picture();
  for (int i = 0; i < 12; ++i) {
    turn(i);
    expectSamePicture("view " + std::to_string(i));
  }
  scene->animator.idle = true;
  expectSamePicture("at the finest detail");
}

TEST_F(BatchPainterTest, aCrowdOfDefaultStyles) {
  const std::vector<Scene::Vertex*> vertices = ball(3000, 6.0F);
  for (int i = 0; i < 6000; ++i) scene->edge(vertices[pick(3000)], vertices[pick(3000)]);
  scene->animator.autozoom_dist = -8.0;
  for (int i = 0; i < 5; ++i) {
    turn(i);
    expectSamePicture("view " + std::to_string(i));
  }
}

TEST_F(BatchPainterTest, aFlatGraphSeenFromTheFrontWhereAllLiesAtOneDepth) {
  std::vector<Scene::Vertex*> vertices;
  for (int i = 0; i < 60; ++i) {
    vertices.push_back(scene->vertex(uniform(-2, 2), uniform(-1.5F, 1.5F), 0.0F));
    giveLooks(vertices.back());
    vertices.back()->style.set_label(words());
  }
  for (int i = 0; i < 120; ++i) giveLooks(scene->edge(vertices[pick(60)], vertices[pick(60)]));
  scene->picture();
  expectSamePicture("flat");
}

TEST_F(BatchPainterTest, aFlatCurveThroughLabels) {
  std::vector<Scene::Edge*> curves;
  for (int i = 0; i < 10; ++i) {
    const float y = 0.2F * static_cast<float>(i) - 1.0F;
    Scene::Vertex* left = scene->vertex(-1.0F, y, 0.0F);
    left->style.set_shape(Shape::none);
    left->style.set_label("a label along the curve");
    curves.push_back(scene->edge(left, scene->hidden(1.0F, y, 0.0F)));
    curves.back()->style.set_color(colour());
    curves.back()->style.set_knots(4);
  }
  scene->picture();
  for (Scene::Edge* e : curves) {
    for (Scene::Vertex* v : *scene->layout.knots.at(e)) {
      v->position[1] = v->start.position[1] = e->source->position[1] + 0.02F;
      v->position[2] = v->start.position[2] = 0.0F;
    }
  }
  expectSamePicture("flat");
}

TEST_F(BatchPainterTest, vertexUponVertexTheFirstOneShows) {
  for (int i = 0; i < 40; ++i) {
    Scene::Vertex* v = scene->vertex(0.25F * static_cast<float>(i % 4), 0.0F, 0.0F);
    v->style.set_color(colour());
    giveLabel(v->style);
  }
  expectSamePicture("from the front");
  turn(1);
  expectSamePicture("turned");
}

TEST_F(BatchPainterTest, moreSizesThanThereAreLists) {
  for (Scene::Vertex* v : ball(2500, 4.0F)) {
    // Some come once, some often enough for a list each.
    v->style.set_size(pick(2) == 0 ? uniform(0.5F, 1.5F) : 0.5 + 0.005 * pick(200));
    v->style.set_shape(static_cast<Shape>(1 + pick(8)));
  }
  scene->animator.autozoom_dist = -5.0;
  expectSamePicture("as many sizes as vertices");
}

TEST_F(BatchPainterTest, textAtTheBordersOfASlidViewport) {
  for (int i = 0; i < 80; ++i) {
    Scene::Vertex* v = scene->vertex(uniform(-2, 2), uniform(-1.5F, 1.5F), uniform(-1, 1));
    v->style.set_shape(Shape::none);
    giveLabel(v->style);
    v->style.set_label("a label that is somewhat longer");
  }
  expectSamePicture("in its place");
  for (const auto& [x, y] : {std::pair{40, 30}, {-61, -17}, {200, -150}}) {
    scene->animator.viewport_x = x;
    scene->animator.viewport_y = y;
    scene->animator.ReshapeFunc(Scene::width - 3, Scene::height - 7);
    expectSamePicture("slid by " + std::to_string(x));
  }
}

TEST_F(BatchPainterTest, everyCharacterOfEveryFont) {
  int row = 0;
  for (const auto& [family, size] :
       {std::pair{"Helvetica", 10}, {"Helvetica", 12}, {"Helvetica", 18}, {"Times Roman", 10}, {"Times Roman", 24}}) {
    for (int first = 1; first < 256; first += 32) {
      Scene::Vertex* v = scene->vertex(-1.9F, -1.45F + 0.07F * static_cast<float>(row++), 0.0F);
      v->style.set_shape(Shape::none);
      v->style.set_fontfamily(family);
      v->style.set_fontsize(size);
      std::string text;
      for (int c = first; c < first + 32 && c < 256; ++c) text += static_cast<char>(c);
      v->style.set_label(text);
    }
    expectSamePicture(family);
  }
}

TEST_F(BatchPainterTest, leavesOpenGlAsItFoundIt) {
  Scene::Vertex* v = scene->vertex(0.0F, 0.0F, 0.0F);
  giveLabel(v->style);
  giveLooks(scene->edge(v, scene->vertex(1.0F, 0.0F, 0.0F)));
  drawn(true);
  for (const GLenum off : {GL_TEXTURE_2D, GL_ALPHA_TEST, GL_VERTEX_ARRAY, GL_COLOR_ARRAY, GL_TEXTURE_COORD_ARRAY}) {
    EXPECT_FALSE(glIsEnabled(off)) << off;
  }
  EXPECT_TRUE(glIsEnabled(GL_LIGHTING));
  EXPECT_TRUE(glIsEnabled(GL_DEPTH_TEST));
  GLint viewport[4];
  glGetIntegerv(GL_VIEWPORT, viewport);
  EXPECT_EQ(viewport[2], Scene::width);
  for (const GLenum depth :
       {GL_MODELVIEW_STACK_DEPTH, GL_PROJECTION_STACK_DEPTH, GL_TEXTURE_STACK_DEPTH, GL_ATTRIB_STACK_DEPTH}) {
    GLint entries = 0;
    glGetIntegerv(depth, &entries);
    EXPECT_LE(entries, 1) << depth;
  }
  EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

}  // namespace
}  // namespace quorel
