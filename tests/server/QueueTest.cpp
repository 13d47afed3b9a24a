#include "ProxyFixture.h"
#include "server/GraphEvents.h"
#include "versioning/EdgeStyle.h"
#include "versioning/VertexStyle.h"

namespace quorel {
namespace {

using QueueTest = ProxyTest;

TEST_F(QueueTest, aResultCanBeUsedBeforeAnyFrame) {
  const int a = proxy.tessarel_new_vertex();
  const int b = proxy.tessarel_new_vertex();
  const int edge = proxy.tessarel_new_edge(a, b);
  const int style = proxy.tessarel_new_vertex_style(0);
  EXPECT_EQ(proxy.tessarel_set_vertex_style_attribute(style, "size", "3"), 0);
  EXPECT_EQ(proxy.tessarel_change_vertex_style(a, style), 0);
  EXPECT_EQ(proxy.tessarel_set_vertex_attribute(a, "label", "a"), 0);
  EXPECT_EQ(proxy.layout->numVertices(), 0);
  EXPECT_EQ(proxy.validate(), "");

  proxy.poll();
  ASSERT_NE(proxy.vertexOf(a), nullptr);
  EXPECT_EQ(proxy.vertexOf(a)->style.get_size(), 3.0);
  EXPECT_EQ(proxy.vertexOf(a)->style.get_label(), "a");
  EXPECT_EQ(proxy.vertexOf(b)->style.get_size(), 1.0);
  EXPECT_EQ(proxy.edgeOf(edge)->source, proxy.vertexOf(a));
  EXPECT_EQ(proxy.edgeOf(edge)->target, proxy.vertexOf(b));

  const int c = proxy.tessarel_new_vertex();
  EXPECT_EQ(proxy.tessarel_remove_vertex(c), 0);
  EXPECT_EQ(proxy.tessarel_remove_vertex(c), -1);
}

TEST_F(QueueTest, changesAreCarriedOutInTheOrderOfTheCalls) {
  proxy.tessarel_new_vertex_w_id(1);
  proxy.tessarel_new_vertex_style_w_id(5, 0);
  proxy.tessarel_set_vertex_attribute(1, "size", "2");
  proxy.tessarel_change_vertex_style(1, 5);  // puts the 2 out of sight
  proxy.tessarel_set_vertex_attribute(1, "size", "3");
  proxy.tessarel_set_vertex_style_attribute(5, "size", "4");  // behind the 3
  proxy.tessarel_set_vertex_style_attribute(5, "label", "style");
  proxy.poll();
  EXPECT_EQ(proxy.vertexOf(1)->style.get_size(), 3.0);
  EXPECT_EQ(proxy.vertexOf(1)->style.get_label(), "style");
  proxy.tessarel_change_vertex_style(1, 5);
  proxy.poll();
  EXPECT_EQ(proxy.vertexOf(1)->style.get_size(), 4.0);
}

TEST_F(QueueTest, removingAVertexTakesItsEdgesAlong) {
  for (const int id : {1, 2, 3}) proxy.tessarel_new_vertex_w_id(id);
  proxy.tessarel_new_edge_w_id(10, 1, 2);
  proxy.tessarel_new_edge_w_id(11, 2, 1);
  proxy.tessarel_new_edge_w_id(12, 1, 3);
  proxy.tessarel_new_edge_w_id(13, 2, 3);
  EXPECT_EQ(proxy.tessarel_remove_vertex(1), 0);
  EXPECT_EQ(proxy.validate(), "");
  EXPECT_EQ(proxy.edges.size(), 1U);
  for (const int id : {10, 11, 12}) EXPECT_EQ(proxy.tessarel_remove_edge(id), -1) << id;
  EXPECT_EQ(proxy.tessarel_remove_edge(13), 0);
  EXPECT_EQ(proxy.tessarel_new_vertex_w_id(1), 0);
  EXPECT_EQ(proxy.tessarel_new_edge_w_id(10, 1, 2), 0);
}

TEST_F(QueueTest, aCurvedEdgeGoesWithItsVertexOrByItself) {
  for (const int id : {1, 2, 3}) proxy.tessarel_new_vertex_w_id(id);
  proxy.tessarel_new_edge_w_id(10, 1, 2);
  proxy.tessarel_new_edge_w_id(11, 2, 3);
  proxy.tessarel_set_edge_style_attribute(0, "spline", "true");
  proxy.poll();
  proxy.layout->updateSplines();
  ASSERT_GT(proxy.layout->numVertices(), 3);
  EXPECT_EQ(proxy.validate(), "");
  EXPECT_EQ(proxy.tessarel_remove_vertex(1), 0);
  EXPECT_EQ(proxy.validate(), "");
  EXPECT_EQ(proxy.tessarel_remove_edge(11), 0);
  EXPECT_EQ(proxy.layout->numVertices(), 2);
}

TEST_F(QueueTest, clearForgetsEverything) {
  proxy.tessarel_new_vertex_w_id(1);
  proxy.tessarel_new_vertex_w_id(2);
  proxy.tessarel_new_edge_w_id(10, 1, 2);
  proxy.tessarel_new_vertex_style_w_id(20, 0);
  proxy.tessarel_new_edge_style_w_id(30, 0);
  proxy.tessarel_set_vertex_style_attribute(0, "size", "5");
  proxy.tessarel_set_edge_style_attribute(0, "width", "5");
  EXPECT_EQ(proxy.tessarel_clear(), 0);
  EXPECT_EQ(proxy.layout->numVertices(), 0);
  EXPECT_EQ(proxy.tessarel_remove_vertex(1), -1);
  EXPECT_EQ(proxy.tessarel_remove_edge(10), -1);
  EXPECT_EQ(proxy.tessarel_new_vertex_style(20), -1);
  EXPECT_EQ(proxy.tessarel_new_edge_style(30), -1);
  EXPECT_EQ(proxy.tessarel_new_vertex_style_w_id(20, 0), 0);
  proxy.tessarel_new_vertex_w_id(1);
  proxy.poll();
  EXPECT_EQ(proxy.vertexOf(1)->style.get_size(), 1.0);
  EXPECT_EQ(proxy.layout->defaultEdgeStyle.get_width(), 1.0);
}

TEST_F(QueueTest, anEventWhoseObjectHasGoneDoesNothing) {
  Captured log(std::clog);
  proxy.tessarel_new_vertex_w_id(1);
  proxy.poll();
  proxy.post(new SetVertexAttribute(7, "size", "2"));
  proxy.post(new SetVertexStyleAttribute(7, "size", "2"));
  proxy.post(new SetEdgeAttribute(7, "width", "2"));
  proxy.post(new SetEdgeStyleAttribute(7, "width", "2"));
  proxy.post(new ChangeVertexStyle(7, 0));
  proxy.post(new ChangeVertexStyle(1, 7));
  proxy.post(new ChangeEdgeStyle(7, 0));
  proxy.edges.emplace(7, nullptr);
  proxy.post(new NewEdge(7, 1, 2));
  proxy.vertexStyles.emplace(7, nullptr);
  proxy.post(new NewVertexStyle(7, 8));
  proxy.poll();
  EXPECT_EQ(proxy.validate(), "");
  EXPECT_TRUE(proxy.edges.empty());
  EXPECT_TRUE(proxy.vertexStyles.empty());
  EXPECT_EQ(log.take(), "");
}

TEST_F(QueueTest, freshIdsAreUniqueAndTheSameInEveryRunWhoeverSeedsTheProcess) {
  srandom(99);
  EXPECT_EQ(proxy.tessarel_new_vertex(), 0x40000000 + (1804289383 & 0x3fffffff));
  srandom(99);
  EXPECT_EQ(proxy.tessarel_new_edge_style(0), 0x40000000 + (846930886 & 0x3fffffff));
  for (int i = 0; i < 100; ++i) {
    srandom(99);
    EXPECT_GE(proxy.tessarel_new_vertex(), 0x40000000);
  }
  EXPECT_EQ(proxy.vertices.size(), 101U);
}

}  // namespace
}  // namespace quorel
