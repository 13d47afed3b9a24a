#include "layout/GraphArrays.h"

#include <gtest/gtest.h>

#include "layout/LayoutTesting.h"

namespace quorel {
namespace {

using Arrays = GraphArrays<Layout::Vertex>;

/// Whether the springs of a vertex are those of its edges, in their order.
template <class EdgeSet>
bool repeats(const EdgeSet& edges, std::span<const Arrays::Spring> springs, const Arrays& arrays, bool outgoing) {
  if (edges.size() != springs.size()) return false;
  auto spring = springs.begin();
  for (const auto* edge : edges) {
    const Layout::Vertex* other = outgoing ? edge->target : edge->source;
    const Arrays::Pull pull =
        edge->hasKnots ? Arrays::Pull::none : (edge->oriented ? Arrays::Pull::oriented : Arrays::Pull::plain);
    if (arrays.vertices[spring->other] != other || arrays.edges[spring->edge] != edge ||
        spring->strength != edge->strength || spring->pull != pull) {
      return false;
    }
    ++spring;
  }
  return true;
}

TEST(GraphArrays, followEveryChangeOfTheGraphAndOfItsAttributes) {
  std::mt19937 random = seeded(73);
  TestLayout layout;
  Arrays arrays;
  std::vector<Layout::Vertex*> vertices = fillRandomly(layout, 60, random);
  EdgeStyle style = EdgeStyle::below(layout.defaultEdgeStyle);
  VertexStyle charged = VertexStyle::below(layout.defaultVertexStyle);
  for (int round = 0; round < 300; ++round) {
    auto* vertex = vertices[random() % vertices.size()];
    switch (random() % 10) {
      case 0:
        vertices.push_back(layout.newVertex());
        layout.newEdge(vertices.back(), vertex);
        arrays.invalidate();
        break;
      case 1:
        std::erase(vertices, vertex);
        delete vertex;
        arrays.invalidate();
        break;
      case 2:
        charged.set_charge(static_cast<double>(random() % 10));
        break;
      case 3:
        vertex->style = VertexStyle::following(charged);
        break;
      case 4:
        vertex->style.set_charge(7);
        break;
      case 5:
        style.set_strength(static_cast<double>(random() % 10));
        style.set_orientation(randomVector(random, 1));
        break;
      default:
        for (auto* edge : vertex->outEdges) {
          switch (random() % 4) {
            case 0:
              edge->style = EdgeStyle::following(style);
              break;
            case 1:
              edge->style.set_knots(random() % 2 == 0 ? 2 : 4);
              break;
            case 2:
              edge->style.set_oriented(random() % 2 == 0);
              break;
            default:
              edge->style = EdgeStyle::following(layout.defaultEdgeStyle);
          }
        }
    }
    arrays.update(layout.vertices);
    arrays.beginReading();
    for (std::size_t i = 0; i < arrays.vertices.size(); ++i) arrays.read(i);
    arrays.refresh();
    ASSERT_EQ(arrays.vertices.size(), layout.vertices.size());
    for (std::size_t i = 0; i < arrays.vertices.size(); ++i) {
      const auto* v = arrays.vertices[i];
      ASSERT_EQ(v->charge, static_cast<float>(v->style.get_charge()));
      ASSERT_EQ(arrays.charges[i], v->charge);
      ASSERT_EQ(arrays.positions[i], v->position);
      for (const auto* edge : v->outEdges) {
        ASSERT_EQ(edge->strength, static_cast<float>(edge->style.get_strength()));
        ASSERT_EQ(edge->hasKnots, edge->style.get_knots() > 2);
        ASSERT_EQ(edge->oriented, edge->style.get_oriented());
        ASSERT_EQ(edge->orientation, edge->style.get_orientation());
      }
      ASSERT_TRUE(repeats(v->outEdges, arrays.outSprings(i), arrays, true)) << "round " << round;
      ASSERT_TRUE(repeats(v->inEdges, arrays.inSprings(i), arrays, false)) << "round " << round;
    }
  }
}

TEST(GraphArrays, readNoAttributeThatNobodySet) {
  std::mt19937 random = seeded(79);
  TestLayout layout;
  fillRandomly(layout, 50, random);
  layout.buildTree();
  const auto reads = [] {
    const auto count = [](const auto& attribute) {
      return attribute.cacheState().hitCount() + attribute.cacheState().missCount() -
             attribute.cacheState().bypassCount();
    };
    return count(vertexAttributes().charge) + count(edgeAttributes().strength) + count(edgeAttributes().knots) +
           count(edgeAttributes().oriented) + count(edgeAttributes().orientation);
  };
  const auto before = reads();
  layout.buildTree();
  layout.step();
  EXPECT_EQ(reads(), before);
  auto* edge = layout.newEdge(*layout.vertices.begin(), *layout.vertices.rbegin());
  layout.buildTree();
  EXPECT_EQ(reads(), before + 4) << "a new edge is read, and nothing else";
  EXPECT_EQ(edge->refreshedVersion, edge->style.version);
}

}  // namespace
}  // namespace quorel
