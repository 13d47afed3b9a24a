#include "versioning/VertexStyle.h"

namespace quorel {

template class Retro<VertexStyleDefns::Shape>;
template class Retro<boost::shared_ptr<Manifold>>;
template class Retro<boost::shared_ptr<VertexCallback>>;

namespace {

// Reading an attribute must never be what makes them all: the lock that guards them may be held by another thread.
[[maybe_unused]] const VertexAttributes& madeAtStart = vertexAttributes();

}  // namespace

VersionTree& VertexStyle::vtree() {
  static auto* const tree = new VersionTree;
  return *tree;
}

VertexAttributes& vertexAttributes() {
  static auto* const attributes = new VertexAttributes(VertexStyle::vtree());
  return *attributes;
}

}  // namespace quorel
