#include <GL/freeglut.h>

#include <boost/smart_ptr/make_shared.hpp>

#include "animator/PickRecords.h"
#include "animator/Scene.h"
#include "versioning/VertexCallback.h"

namespace quorel {
namespace {

TEST(ChooseHit, takesTheNearestAmongRecordsWithOneName) {
  struct Case {
    std::vector<std::uint32_t> words;
    int hits;
    std::optional<std::uint32_t> chosen;
  };
  for (const Case& c : {
           Case{{1, 5, 9, 42}, 1, 42},
           Case{{1, 5, 9, 42, 1, 6, 9, 43}, 2, 42},
           Case{{1, 6, 9, 42, 1, 5, 9, 43}, 2, 43},
           Case{{1, 5, 9, 42, 1, 5, 9, 43}, 2, 42},
           Case{{1, 0x7fffffff, 9, 1, 1, 0x80000001, 9, 2}, 2, 1},
           Case{{1, 0xb0000000, 9, 1, 1, 0xa0000000, 9, 2}, 2, 2},
           Case{{0, 2, 9, 1, 5, 9, 42, 2, 3, 9, 43, 44}, 3, 42},
           Case{{0, 7, 9}, 1, std::nullopt},
           Case{{1, 5, 9, 42}, 0, std::nullopt},
           Case{{1, 5, 9, 42}, -1, std::nullopt},
           Case{{1, 5, 9, 42, 1, 6, 9}, 2, 42},
           Case{{0xffffffff, 6, 9}, 1, std::nullopt},
       }) {
    EXPECT_EQ(chooseHit(c.words, c.hits), c.chosen) << c.words.size() << ' ' << c.hits;
  }
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

TEST_F(PickTest, labelsHiddenAndShapelessVerticesAndEdgesGiveNoHit) {
  scene.hidden(0.0F, 0.0F, 0.0F)->style.set_label("hidden");
  Scene::Vertex* shapeless = scene.vertex(0.0F, 0.0F, 0.0F);
  shapeless->style.set_shape(Shape::none);
  shapeless->style.set_label("shapeless");
  EXPECT_EQ(pick(0.0F, 0.0F), Vertices());

  Scene::Vertex* hub = scene.vertex(0.0F, 0.0F, 0.0F);
  for (int i = 0; i < 40; ++i) {
    Scene::Vertex* leaf = scene.vertex(1.5F, 0.05F * static_cast<float>(i - 20), 0.0F);
    Scene::Edge* e = i % 2 == 0 ? scene.edge(leaf, hub) : scene.edge(hub, leaf);
    e->style.set_label("edge");
  }
  EXPECT_EQ(pick(0.0F, 0.0F), Vertices({hub}));
}

TEST_F(PickTest, ofTwoBehindOneAnotherTheNearerIsFoundAndOfTooManyNone) {
  scene.vertex(0.0F, 0.0F, -1.0F);
  Scene::Vertex* nearer = scene.vertex(0.0F, 0.0F, 0.0F);
  scene.vertex(0.0F, 0.0F, -0.5F);
  EXPECT_EQ(pick(0.0F, 0.0F), Vertices({nearer}));
  for (int i = 0; i < 6; ++i) scene.vertex(0.0F, 0.0F, -2.0F - static_cast<float>(i));
  EXPECT_EQ(pick(0.0F, 0.0F), Vertices()) << "nine names do not fit into the buffer";
}

}  // namespace
}  // namespace quorel
