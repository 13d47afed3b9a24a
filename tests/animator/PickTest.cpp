#include <GL/freeglut.h>

#include <boost/smart_ptr/make_shared.hpp>

#include <tuple>

#include "animator/PickRecords.h"
#include "animator/Scene.h"
#include "versioning/VertexCallback.h"

namespace quorel {
namespace {

TEST(ChooseHit, takesTheNearestAmongRecordsWithOneName) {
  const std::tuple<std::vector<std::uint32_t>, int, std::optional<std::uint32_t>> cases[] = {
      {{1, 5, 9, 42, 1, 6, 9, 43}, 2, 42},
      {{1, 6, 9, 42, 1, 5, 9, 43}, 2, 43},
      {{1, 5, 9, 42, 1, 5, 9, 43}, 2, 42},
      {{1, 0x7fffffff, 9, 1, 1, 0x80000001, 9, 2}, 2, 1},
      {{0, 2, 9, 1, 5, 9, 42, 2, 3, 9, 43, 44}, 3, 42},
      {{0, 7, 9}, 1, std::nullopt},
      {{1, 5, 9, 42}, -1, std::nullopt},
      {{1, 5, 9, 42, 1, 6, 9}, 2, 42},
      {{0xffffffff, 6, 9}, 1, std::nullopt},
  };
  for (const auto& [words, hits, chosen] : cases)
    EXPECT_EQ(chooseHit(words, hits), chosen) << testing::PrintToString(words);
}

class Recorder final : public VertexCallback {
public:
  void operator()(Vertex* vertex) override { called.push_back(vertex); }

  std::vector<Vertex*> called;
};

class PickTest : public SceneTest {
protected:
  PickTest() { layout.defaultVertexStyle.set_callback(recorder); }

  /// The vertices called back by a pick at this point of the plane z = 0.
  std::vector<Scene::Vertex*> pick(float x, float y) {
    layout.centroid = Scene::Vector();
    animator.pick(animator.viewport_x + scene.column(x), Scene::height - scene.row(y) - animator.viewport_y);
    EXPECT_FALSE(animator.selecting);
    EXPECT_TRUE(animator.pick_vertices.empty());
    return std::exchange(recorder->called, {});
  }

  using Vertices = std::vector<Scene::Vertex*>;

  boost::shared_ptr<Recorder> recorder = boost::make_shared<Recorder>();
};

TEST_F(PickTest, findsTheVertexUnderThePointerAndNothingBesideItAndMovesNothing) {
  Scene::Vertex* left = scene.vertex(-1.0F, 0.5F, 0.0F);
  Scene::Vertex* right = scene.vertex(1.0F, -0.5F, 0.0F);
  left->velocity = left->start.velocity = Scene::Vector(1.0F, 0.0F, 0.0F);
  for (const int slid : {0, 50}) {
    animator.viewport_x = slid;
    animator.ReshapeFunc(Scene::width, Scene::height);
    const Picture before = scene.picture();
    EXPECT_EQ(pick(-1.0F, 0.5F), Vertices({left})) << slid;
    EXPECT_EQ(pick(1.0F, -0.5F), Vertices({right})) << slid;
    EXPECT_EQ(pick(1.0F, 0.5F), Vertices()) << slid;
    EXPECT_EQ(scene.picture().differences(before), 0) << slid;
  }
}

TEST_F(PickTest, ofSeveralTheNearestSolidIsFoundAndOfTooManyNone) {
  scene.hidden(0.0F, 0.0F, 0.5F)->style.set_label("hidden");
  Scene::Vertex* shapeless = scene.vertex(0.0F, 0.0F, 0.5F);
  shapeless->style.set_shape(Shape::none);
  shapeless->style.set_label("shapeless");
  EXPECT_EQ(pick(0.0F, 0.0F), Vertices());

  scene.vertex(0.0F, 0.0F, -1.0F);
  Scene::Vertex* nearest = scene.vertex(0.0F, 0.0F, 0.0F);
  for (int i = 0; i < 40; ++i) {
    Scene::Vertex* leaf = scene.vertex(1.5F, 0.05F * static_cast<float>(i - 20), 0.0F);
    scene.edge(leaf, nearest)->style.set_label("edge");
  }
  EXPECT_EQ(pick(0.0F, 0.0F), Vertices({nearest})) << "edges do not fill the buffer";
  for (int i = 0; i < 7; ++i) scene.vertex(0.0F, 0.0F, -2.0F - static_cast<float>(i));
  EXPECT_EQ(pick(0.0F, 0.0F), Vertices()) << "nine names do not fit into it";
}

}  // namespace
}  // namespace quorel
