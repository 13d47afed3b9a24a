#pragma once

#include <boost/shared_ptr.hpp>
#include <string>
#include <type_traits>
#include <utility>

#include "TinyVector.h"
#include "versioning/Manifold.h"
#include "versioning/Retro.h"
#include "versioning/VersionTree.h"
#include "versioning/VertexCallback.h"
#include "versioning/VertexStyleDefns.h"

namespace quorel {

extern template class Retro<VertexStyleDefns::Shape>;
extern template class Retro<boost::shared_ptr<Manifold>>;
extern template class Retro<boost::shared_ptr<VertexCallback>>;

/// One Retro for each attribute of vertices, named as the attribute.
/// Threading:  every use stands under globalStyleLock.
/// Ownership:  one object, made during static initialisation and never destroyed.
struct VertexAttributes {
  using Vector = TinyVector<float, 3>;

  explicit VertexAttributes(VersionTree& versionTree) : tree(versionTree) {}

  VersionTree& tree;
#define ATTRIBUTE(Type, name, ...) Retro<Type> name{tree, Type(__VA_ARGS__)};
#include "versioning/VertexAttributes.def"
#undef ATTRIBUTE
};

VertexAttributes& vertexAttributes();

/// A handle on a version of the tree of vertices: a style, or what a vertex holds. The values stand in
/// vertexAttributes().
/// Invariants: `shared` says that the version is somebody else's; it is exchanged for a child of it on the first write.
/// Threading:  every use stands under globalStyleLock.
/// Ownership:  a plain value; the version is never freed.
class VertexStyle {
public:
  using Vector = VertexAttributes::Vector;

  /// The root of the tree, as its owner.
  VertexStyle() : version(vtree().root), shared(false) {}

  /// A new style that sees every value of `parent` that it does not set itself.
  static VertexStyle below(const VertexStyle& parent) { return VertexStyle(vtree().newVersion(parent.version), false); }

  /// What a vertex that has this style holds.
  static VertexStyle following(const VertexStyle& style) { return VertexStyle(style.version, true); }

  static VersionTree& vtree();

  /// For tables of attributes: `style.get(&VertexAttributes::size)` is `style.get_size()`.
  template <class T>
  T get(Retro<T> VertexAttributes::*attribute) const {
    return (vertexAttributes().*attribute).get(version);
  }
  template <class T>
  void set(Retro<T> VertexAttributes::*attribute, std::type_identity_t<T> value) {
    if (shared) {
      version = vtree().newVersion(version);
      shared = false;
    }
    (vertexAttributes().*attribute).set(version, std::move(value));
  }

  // For each attribute: the value in force, a look at it without a copy (until the attribute's next change), and
  // setting it.
#define ATTRIBUTE(Type, name, ...)                  \
  Type get_##name() const {                         \
    return get(&VertexAttributes::name);            \
  }                                                 \
  const Type& look_##name() const {                 \
    return vertexAttributes().name.look(version);   \
  }                                                 \
  void set_##name(Type value) {                     \
    set(&VertexAttributes::name, std::move(value)); \
  }
#include "versioning/VertexAttributes.def"
#undef ATTRIBUTE

  Version* version;
  bool shared;

private:
  VertexStyle(Version* ownVersion, bool sharedVersion) : version(ownVersion), shared(sharedVersion) {}
};

}  // namespace quorel
