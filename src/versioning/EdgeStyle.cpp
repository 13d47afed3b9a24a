#include "versioning/EdgeStyle.h"

namespace quorel {

namespace {

// Reading an attribute must never be what makes them all: the lock that guards them may be held by another thread.
[[maybe_unused]] const EdgeAttributes& madeAtStart = edgeAttributes();

}  // namespace

VersionTree& EdgeStyle::vtree() {
  static auto* const tree = new VersionTree;
  return *tree;
}

EdgeAttributes& edgeAttributes() {
  static auto* const attributes = new EdgeAttributes(EdgeStyle::vtree());
  return *attributes;
}

}  // namespace quorel
