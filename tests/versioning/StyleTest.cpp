#include <gtest/gtest.h>

#include <vector>

#include "versioning/EdgeStyle.h"
#include "versioning/GlobalStyleLock.h"
#include "versioning/VertexStyle.h"

namespace quorel {
namespace {

/// Whether the lock and the attributes can be used by an initialiser of another translation unit, whatever the order.
const bool usedBeforeMain = [] {
  globalStyleLock.lock();
  const bool right = VertexStyle().get_size() == 1.0 && EdgeStyle().get_width() == 1.0;
  globalStyleLock.unlock();
  return right;
}();

TEST(Styles, canBeUsedByStaticInitialisers) {
  EXPECT_TRUE(usedBeforeMain);
}

TEST(Styles, aStyleChangeReachesEveryVertexBelowItAndMakesNoVersion) {
  VertexStyle style = VertexStyle::below(VertexStyle());
  VertexStyle substyle = VertexStyle::below(style);
  const VertexStyle vertex = VertexStyle::following(style);
  const VertexStyle other = VertexStyle::following(substyle);
  const Version* const newest = VertexStyle::vtree().newVersion(nullptr);
  EXPECT_EQ(vertex.get_shape(), VertexStyleDefns::cube);
  style.set_shape(VertexStyleDefns::cone);
  EXPECT_EQ(vertex.get_shape(), VertexStyleDefns::cone);
  EXPECT_EQ(other.get_shape(), VertexStyleDefns::cone);
  substyle.set_shape(VertexStyleDefns::torus);
  style.set_shape(VertexStyleDefns::sphere);
  EXPECT_EQ(vertex.get_shape(), VertexStyleDefns::sphere);
  EXPECT_EQ(other.get_shape(), VertexStyleDefns::torus);
  EXPECT_EQ(VertexStyle().get_shape(), VertexStyleDefns::cube);
  EXPECT_EQ(VertexStyle::vtree().newVersion(nullptr)->index, newest->index + 1);
}

TEST(Styles, aPrivateValueHoldsAndTheRestStillFollowsTheStyle) {
  EdgeStyle style = EdgeStyle::below(EdgeStyle());
  EdgeStyle edge = EdgeStyle::following(style);
  const EdgeStyle neighbour = EdgeStyle::following(style);
  edge.set_width(3.0);
  EXPECT_FALSE(edge.shared);
  EXPECT_EQ(edge.version->parent, style.version);
  EXPECT_EQ(neighbour.get_width(), 1.0);
  const Version* const own = edge.version;
  edge.set_label("own");
  EXPECT_EQ(edge.version, own);

  style.set_width(5.0);
  style.set_arrow(true);
  EXPECT_EQ(edge.get_width(), 3.0);
  EXPECT_TRUE(edge.get_arrow());
  EXPECT_EQ(neighbour.get_width(), 5.0);
}

TEST(Styles, anotherStylePutsPrivateValuesOutOfSight) {
  VertexStyle first = VertexStyle::below(VertexStyle());
  VertexStyle second = VertexStyle::below(VertexStyle());
  second.set_size(9.0);
  VertexStyle vertex = VertexStyle::following(first);
  vertex.set_label("mine");
  vertex.set_size(2.0);
  vertex = VertexStyle::following(second);
  EXPECT_EQ(vertex.look_label(), "");
  EXPECT_EQ(vertex.get_size(), 9.0);
  EXPECT_TRUE(vertex.shared);
  // The next write makes a version below the style that it has now.
  vertex.set_label("again");
  second.set_size(10.0);
  EXPECT_EQ(vertex.get_size(), 10.0);
  EXPECT_EQ(second.get_label(), "");
}

TEST(Styles, attributesCanBeNamedInTables) {
  const std::vector<Retro<double> EdgeAttributes::*> table = {&EdgeAttributes::strength, &EdgeAttributes::length};
  EdgeStyle style = EdgeStyle::below(EdgeStyle());
  EdgeStyle edge = EdgeStyle::following(style);
  for (const auto attribute : table) edge.set(attribute, 7);
  EXPECT_EQ(edge.get_strength(), 7.0);
  EXPECT_EQ(edge.get(table[1]), 7.0);
  EXPECT_EQ(style.get_length(), 1.0);
}

}  // namespace
}  // namespace quorel
