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

/// The same of vertices and edges.
template <class Style>
void makeOneVersionForAnObjectAndNoneForAStylesValues() {
  Style style = Style::below(Style());
  Style object = Style::following(style);
  const Version* const newest = Style::vtree().newVersion(nullptr);
  style.set_visible(false);
  EXPECT_EQ(Style::vtree().newVersion(nullptr)->index, newest->index + 1);
  object.set_label("own");
  const Version* const own = object.version;
  EXPECT_EQ(own->parent, style.version);
  object.set_visible(true);
  EXPECT_EQ(object.version, own);
}

TEST(Styles, makeOneVersionForAnObjectAndNoneForAStylesValues) {
  makeOneVersionForAnObjectAndNoneForAStylesValues<VertexStyle>();
  makeOneVersionForAnObjectAndNoneForAStylesValues<EdgeStyle>();
}

}  // namespace
}  // namespace quorel
