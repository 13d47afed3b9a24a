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

  std::string text(int length) {
    std::string bytes;
    for (int i = 0; i < length; ++i) bytes += static_cast<char>(1 + pick(255));
    return bytes;
  }

  template <class Style>
  void giveLabel(Style& style) {
    // Of labels that go on far beyond the window only what is seen of them is drawn, and all of that.
    style.set_label(text(pick(20) == 0 ? 600 : 1 + pick(12)));
    style.set_fontcolor(colour());
    style.set_fontsize(8 + pick(17));
    if (pick(2) == 0) style.set_fontfamily("Times Roman");
  }

  void giveLooks(Scene::Vertex* v) {
    v->style.set_shape(static_cast<Shape>(pick(9)));
    v->style.set_color(colour());
    // Some sizes come once, some often enough for a list each.
    v->style.set_size(pick(2) == 0 ? uniform(0.5F, 1.5F) : 0.5 + 0.005 * pick(200));
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

  std::mt19937 random{seed};
};

TEST_F(BatchPainterTest, everyKindOfPieceInACrowdOfMoreThanABatchAndMoreSizesThanListsInASlidViewport) {
  std::vector<Scene::Vertex*> vertices;
  for (int i = 0; i < 600; ++i) {
    vertices.push_back(scene.vertex(uniform(-4, 4), uniform(-4, 4), uniform(-4, 4)));
    giveLooks(vertices.back());
  }
  for (int i = 0; i < 900; ++i) giveLooks(scene.edge(vertices[pick(600)], vertices[pick(600)]));
  animator.show_forces = true;
  animator.axes_hidden = 0;
  animator.autozoom_dist = -4.0;
  scene.picture();
  for (const auto& [x, y] : {std::pair{0, 0}, {90, 40}, {-61, -17}, {-250, 150}}) {
    animator.viewport_x = x;
    animator.viewport_y = y;
    animator.ReshapeFunc(Scene::width - 3, Scene::height - 7);
    expectSamePicture("slid by " + std::to_string(x));
    animator.angle_x = uniform(0, 360);
    animator.angle_y = uniform(0, 360);
  }
}

TEST_F(BatchPainterTest, flatGraphsWithVertexUponVertexSeenFromTheFrontWhereAllLiesAtOneDepth) {
  std::vector<Scene::Vertex*> vertices;
  for (int i = 0; i < 150; ++i) {
    vertices.push_back(
        scene.vertex(0.25F * static_cast<float>(pick(15)) - 1.8F, 0.3F * static_cast<float>(pick(8)) - 1, 0));
    giveLooks(vertices.back());
    giveLabel(vertices.back()->style);
  }
  for (int i = 0; i < 200; ++i) giveLooks(scene.edge(vertices[pick(150)], vertices[pick(150)]));
  scene.picture();
  for (const auto& [edge, chain] : layout.knots) {
    for (Scene::Vertex* knot : *chain) Scene::move(knot, {knot->position[0], knot->position[1], 0.0F});
  }
  expectSamePicture("flat");
  animator.idle = true;
  expectSamePicture("at the finest detail");
}

}  // namespace
}  // namespace quorel
