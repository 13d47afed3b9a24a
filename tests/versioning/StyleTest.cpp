#include <gtest/gtest.h>

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

/// The same of vertices and edges, by the size of the one and the width of the other.
template <class Style, class Set, class Get>
void reachAllBelowButWhatIsSetThere(Set set, Get get) {
  Style style = Style::below(Style());
  Style substyle = Style::below(style);
  Style object = Style::following(style);
  const Style neighbour = Style::following(style);
  const Style other = Style::following(substyle);
  const Version* const newest = Style::vtree().newVersion(nullptr);
  set(style, 2.0);
  EXPECT_EQ(get(neighbour), 2.0);
  EXPECT_EQ(get(other), 2.0);
  set(substyle, 4.0);
  EXPECT_EQ(Style::vtree().newVersion(nullptr)->index, newest->index + 1) << "no version is made for a style's value";

  set(object, 3.0);
  EXPECT_EQ(object.version->parent, style.version);
  const Version* const own = object.version;
  object.set_label("own");
  EXPECT_EQ(object.version, own) << "the second value makes no version";
  set(style, 5.0);
  style.set_visible(false);
  EXPECT_EQ(get(object), 3.0);
  EXPECT_FALSE(object.get_visible()) << "the rest still follows the style";
  EXPECT_EQ(get(neighbour), 5.0);
  EXPECT_EQ(get(other), 4.0);
  EXPECT_EQ(get(Style()), 1.0);

  Style second = Style::below(Style());
  set(second, 9.0);
  object = Style::following(second);
  EXPECT_EQ(object.look_label(), "");
  EXPECT_EQ(get(object), 9.0);
  object.set_label("again");
  set(second, 10.0);
  EXPECT_EQ(get(object), 10.0) << "the next write makes a version below the style that it has now";
  EXPECT_EQ(second.get_label(), "");
}

TEST(Styles, reachAllBelowButWhatIsSetThere) {
  reachAllBelowButWhatIsSetThere<VertexStyle>([](VertexStyle& s, double v) { s.set_size(v); },
                                              [](const VertexStyle& s) { return s.get_size(); });
  reachAllBelowButWhatIsSetThere<EdgeStyle>([](EdgeStyle& s, double v) { s.set_width(v); },
                                            [](const EdgeStyle& s) { return s.get_width(); });
}

}  // namespace
}  // namespace quorel
