#include <GL/freeglut.h>
#include <gtest/gtest.h>

#include <boost/smart_ptr/make_shared.hpp>
#include <sstream>

#include "animator/PickRecords.h"
#include "animator/Scene.h"
#include "versioning/VertexCallback.h"

namespace quorel {
namespace {

using Shape = VertexStyleDefns::Shape;

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

class PickTest : public testing::Test {
protected:
  void SetUp() override {
    if (scene == nullptr) GTEST_SKIP() << "no display";
    scene->layout.defaultVertexStyle.set_callback(recorder);
  }

  void pick(float x, float y) {
    scene->layout.centroid = Scene::Vector();
    scene->animator.pick(scene->column(x), Scene::height - scene->row(y));
  }

  using Vertices = std::vector<Scene::Vertex*>;

  Scene* scene = Scene::empty();
  boost::shared_ptr<Recorder> recorder = boost::make_shared<Recorder>();
};

TEST_F(PickTest, findsTheVertexUnderThePointerAndNothingBesideIt) {
  Scene::Vertex* left = scene->vertex(-1.0F, 0.5F, 0.0F);
  Scene::Vertex* right = scene->vertex(1.0F, -0.5F, 0.0F);
  testing::internal::CaptureStdout();
  pick(-1.0F, 0.5F);
  EXPECT_EQ(recorder->called, Vertices({left}));
  pick(1.0F, -0.5F);
  EXPECT_EQ(recorder->called, Vertices({left, right}));
  pick(1.0F, 0.5F);
  EXPECT_EQ(recorder->called.size(), 2U);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_FALSE(scene->animator.selecting);
  EXPECT_TRUE(scene->animator.pick_vertices.empty());
}

TEST_F(PickTest, labelsHiddenAndShapelessVerticesGiveNoHit) {
  scene->hidden(0.0F, 0.0F, 0.0F)->style.set_label("hidden");
  Scene::Vertex* shapeless = scene->vertex(0.0F, 0.0F, 0.0F);
  shapeless->style.set_shape(Shape::none);
  shapeless->style.set_label("shapeless");
  pick(0.0F, 0.0F);
  EXPECT_TRUE(recorder->called.empty());
}

TEST_F(PickTest, theHubOfManyEdgesIsFound) {
  Scene::Vertex* hub = scene->vertex(0.0F, 0.0F, 0.0F);
  for (int i = 0; i < 40; ++i) {
    Scene::Vertex* leaf = scene->vertex(1.5F, 0.05F * static_cast<float>(i - 20), 0.0F);
    Scene::Edge* e = i % 2 == 0 ? scene->edge(leaf, hub) : scene->edge(hub, leaf);
    e->style.set_label("edge");
  }
  pick(0.0F, 0.0F);
  EXPECT_EQ(recorder->called, Vertices({hub}));
}

TEST_F(PickTest, ofTwoBehindOneAnotherTheNearerIsFoundAndOfTooManyNone) {
  scene->vertex(0.0F, 0.0F, -1.0F);
  Scene::Vertex* nearer = scene->vertex(0.0F, 0.0F, 0.0F);
  scene->vertex(0.0F, 0.0F, -0.5F);
  pick(0.0F, 0.0F);
  EXPECT_EQ(recorder->called, Vertices({nearer}));
  for (int i = 0; i < 6; ++i) scene->vertex(0.0F, 0.0F, -2.0F - static_cast<float>(i));
  pick(0.0F, 0.0F);
  EXPECT_EQ(recorder->called.size(), 1U) << "nine names do not fit into the buffer";
  EXPECT_FALSE(scene->animator.selecting);
}

TEST_F(PickTest, neverStepsAndLeavesTheNextPictureAsItWas) {
  Scene::Vertex* v = scene->vertex(0.0F, 0.0F, 0.0F);
  v->velocity = v->start.velocity = Scene::Vector(1.0F, 0.0F, 0.0F);
  const Picture before = scene->picture();
  pick(0.0F, 0.0F);
  EXPECT_EQ(v->position, Scene::Vector());
  EXPECT_EQ(scene->picture().differences(before), 0);
}

TEST_F(PickTest, followsTheViewportWhereItHasBeenDragged) {
  Scene::Vertex* v = scene->vertex(0.0F, 0.0F, 0.0F);
  scene->animator.mouse_button = GLUT_MIDDLE_BUTTON;
  scene->animator.mouse_x = scene->animator.mouse_y = 0;
  scene->animator.MotionFunc(50, -30);
  scene->animator.pick(Scene::width / 2 + 50, Scene::height / 2 - 30);
  EXPECT_EQ(recorder->called, Vertices({v}));
}

}  // namespace
}  // namespace quorel
