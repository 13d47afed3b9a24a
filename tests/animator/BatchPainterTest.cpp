#include "animator/BatchPainter.h"

#include <GL/freeglut.h>

#include <random>

#include "animator/Scene.h"

namespace quorel {
namespace {

using Vector = Scene::Vector;

/// Scenes of which the picture drawn in batches has to be the one drawn piece by piece, in every pixel.
class BatchPainterTest : public SceneTest {
protected:
  static constexpr unsigned seed = 20738;

  float uniform(float from, float to) { return std::uniform_real_distribution<float>(from, to)(random); }
  int pick(int count) { return std::uniform_int_distribution<int>(0, count - 1)(random); }
  Vector colour() { return {uniform(0, 1), uniform(0, 1), uniform(0, 1)}; }

  std::vector<Scene::Vertex*> ball(int count, float radius) {
    std::vector<Scene::Vertex*> vertices;
    while (static_cast<int>(vertices.size()) < count) {
      const Vector place(uniform(-radius, radius), uniform(-radius, radius), uniform(-radius, radius));
      if (length(place) < radius) vertices.push_back(scene.vertex(place[0], place[1], place[2]));
    }
    return vertices;
  }

  std::string text(int length) {
    std::string bytes;
    for (int i = 0; i < length; ++i) bytes += static_cast<char>(1 + pick(255));
    return bytes;
  }

  template <class Style>
  void giveLabel(Style& style) {
    style.set_label(text(1 + pick(12)));
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
    animator.batching = inBatches;
    // What the next picture takes over from the last.
    animator.detail = 10.0;
    animator.mean_edge_length = 1.0;
    return scene.picture();
  }

  void expectSamePicture(const std::string& what) {
    const Picture plain = drawn(false);
    ASSERT_GT(plain.count(), 0) << what;
    EXPECT_EQ(drawn(true).differences(plain), 0) << what << " seed " << seed;
    EXPECT_EQ(drawn(true).differences(plain), 0) << what << ", from the lists of the last picture, seed " << seed;
    EXPECT_EQ(drawn(false).differences(plain), 0) << what << ", after state that a batch has left, seed " << seed;
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR)) << what;
  }

  /// From the front, and from somewhere else.
  void expectSamePictures(const std::string& what, int views) {
    for (int i = 0; i < views; ++i) {
      animator.angle_x = i == 0 ? 0.0 : uniform(0, 360);
      animator.angle_y = i == 0 ? 0.0 : uniform(0, 360);
      expectSamePicture(what + ", view " + std::to_string(i));
    }
  }

  std::mt19937 random{seed};
};

TEST_F(BatchPainterTest, everyKindOfPieceTogether) {
  const std::vector<Scene::Vertex*> vertices = ball(200, 2.0F);
  for (Scene::Vertex* v : vertices) giveLooks(v);
  for (int i = 0; i < 300; ++i) giveLooks(scene.edge(vertices[pick(200)], vertices[pick(200)]));
  animator.show_forces = true;
  animator.axes_hidden = 0;
  animator.autozoom_dist = -1.0;
  scene.picture();
  expectSamePictures("all", 4);
  animator.idle = true;
  expectSamePicture("at the finest detail");
}

TEST_F(BatchPainterTest, aCrowdOfMorePiecesThanABatchAndMoreSizesThanThereAreLists) {
  const std::vector<Scene::Vertex*> vertices = ball(3000, 6.0F);
  for (int i = 0; i < 6000; ++i) scene.edge(vertices[pick(3000)], vertices[pick(3000)]);
  animator.autozoom_dist = -8.0;
  expectSamePictures("default styles", 3);
  for (Scene::Vertex* v : vertices) {
    // Some sizes come once, some often enough for a list each.
    v->style.set_size(pick(2) == 0 ? uniform(0.5F, 1.5F) : 0.5 + 0.005 * pick(200));
    v->style.set_shape(static_cast<Shape>(1 + pick(8)));
  }
  expectSamePictures("as many sizes as vertices", 1);
}

TEST_F(BatchPainterTest, flatGraphsAndHeapsSeenFromTheFrontWhereAllLiesAtOneDepth) {
  std::vector<Scene::Vertex*> vertices;
  for (int i = 0; i < 60; ++i) {
    vertices.push_back(scene.vertex(uniform(-2, 2), uniform(-1.5F, 1.5F), 0.0F));
    giveLooks(vertices.back());
    giveLabel(vertices.back()->style);
  }
  for (int i = 0; i < 120; ++i) giveLooks(scene.edge(vertices[pick(60)], vertices[pick(60)]));
  scene.picture();
  expectSamePictures("flat", 1);

  layout.clear();
  std::vector<Scene::Edge*> curves;
  for (int i = 0; i < 10; ++i) {
    const float y = 0.2F * static_cast<float>(i) - 1.0F;
    Scene::Vertex* left = scene.vertex(-1.0F, y, 0.0F);
    left->style.set_shape(Shape::none);
    left->style.set_label("a label along the curve");
    curves.push_back(scene.edge(left, scene.hidden(1.0F, y, 0.0F)));
    curves.back()->style.set_color(colour());
    curves.back()->style.set_knots(4);
  }
  scene.picture();
  for (Scene::Edge* e : curves) {
    for (Scene::Vertex* v : *layout.knots.at(e)) Scene::move(v, {v->position[0], e->source->position[1] + 0.02F, 0.0F});
  }
  expectSamePictures("curves through labels", 1);

  layout.clear();
  for (int i = 0; i < 40; ++i) {
    Scene::Vertex* v = scene.vertex(0.25F * static_cast<float>(i % 4), 0.0F, 0.0F);
    v->style.set_color(colour());
    giveLabel(v->style);
  }
  expectSamePictures("vertex upon vertex", 2);
}

// Labels that go on far beyond the window: only what is seen of them is drawn, and all of that.
TEST_F(BatchPainterTest, giantLabelsInEveryFontUpToAndAcrossEveryEdgeOfASlidViewport) {
  for (const auto& [family, size] :
       {std::pair{"Helvetica", 10}, {"Helvetica", 12}, {"Helvetica", 18}, {"Times Roman", 10}, {"Times Roman", 24}}) {
    layout.clear();
    for (int i = 0; i < 60; ++i) {
      Scene::Vertex* v = scene.vertex(uniform(-4, 4), uniform(-3, 3), uniform(-1, 1));
      if (i % 4 == 0) {
        giveLooks(v);
        continue;
      }
      v->style.set_shape(Shape::none);
      v->style.set_fontcolor(colour());
      v->style.set_fontfamily(family);
      v->style.set_fontsize(size);
      v->style.set_label(text(600));
    }
    for (const auto& [x, y] : {std::pair{0, 0}, {90, 40}, {-61, -17}, {-250, 150}}) {
      animator.viewport_x = x;
      animator.viewport_y = y;
      animator.ReshapeFunc(Scene::width - 3, Scene::height - 7);
      expectSamePicture(family + std::string(", slid by ") + std::to_string(x));
    }
  }
}

}  // namespace
}  // namespace quorel
