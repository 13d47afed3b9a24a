#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>

#include "TinyVector.h"
#include "versioning/Retro.h"
#include "versioning/VersionTree.h"

namespace quorel {

/// One Retro for each attribute of edges, named as the attribute.
/// Threading:  every use stands under globalStyleLock.
/// Ownership:  one object, made during static initialisation and never destroyed.
struct EdgeAttributes {
  using Vector = TinyVector<float, 3>;

  explicit EdgeAttributes(VersionTree& versionTree) : tree(versionTree) {}

  VersionTree& tree;
#define ATTRIBUTE(Type, name, ...) Retro<Type> name{tree, Type(__VA_ARGS__)};
#include "versioning/EdgeAttributes.def"
#undef ATTRIBUTE
};

EdgeAttributes& edgeAttributes();

/// A handle on a version of the tree of edges: a style, or what an edge holds. The values stand in edgeAttributes().
/// Invariants: `shared` says that the version is somebody else's; it is exchanged for a child of it on the first write.
///             `moves` rises with every handle that is made for a version or comes to another.
/// Threading:  every use stands under globalStyleLock.
/// Ownership:  a plain value; the version is never freed.
class EdgeStyle {
public:
  using Vector = EdgeAttributes::Vector;

  /// The root of the tree, as its owner.
  EdgeStyle() : version(vtree().root), shared(false) {}

  /// A new style that sees every value of `parent` that it does not set itself.
  static EdgeStyle below(const EdgeStyle& parent) { return EdgeStyle(vtree().newVersion(parent.version), false); }

  /// What an edge that has this style holds.
  static EdgeStyle following(const EdgeStyle& style) { return EdgeStyle(style.version, true); }

  EdgeStyle(const EdgeStyle&) = default;
  EdgeStyle& operator=(const EdgeStyle& other) {
    version = other.version;
    shared = other.shared;
    moves.fetch_add(1, std::memory_order_relaxed);
    return *this;
  }
  ~EdgeStyle() = default;

  static VersionTree& vtree();

  /// While it stays, every handle is where it was. An edge is made without globalStyleLock, hence atomic.
  static inline std::atomic<std::uint64_t> moves = 0;

  /// For tables of attributes: `style.get(&EdgeAttributes::width)` is `style.get_width()`.
  template <class T>
  T get(Retro<T> EdgeAttributes::*attribute) const {
    return (edgeAttributes().*attribute).get(version);
  }
  template <class T>
  void set(Retro<T> EdgeAttributes::*attribute, std::type_identity_t<T> value) {
    if (shared) {
      *this = EdgeStyle(vtree().newVersion(version), false);
    }
    (edgeAttributes().*attribute).set(version, std::move(value));
  }

  // For each attribute: the value in force, a look at it without a copy (until the attribute's next change), and
  // setting it.
#define ATTRIBUTE(Type, name, ...)                \
  Type get_##name() const {                       \
    return get(&EdgeAttributes::name);            \
  }                                               \
  const Type& look_##name() const {               \
    return edgeAttributes().name.look(version);   \
  }                                               \
  void set_##name(Type value) {                   \
    set(&EdgeAttributes::name, std::move(value)); \
  }
#include "versioning/EdgeAttributes.def"
#undef ATTRIBUTE

  Version* version;
  bool shared;

private:
  EdgeStyle(Version* ownVersion, bool sharedVersion) : version(ownVersion), shared(sharedVersion) {
    moves.fetch_add(1, std::memory_order_relaxed);
  }
};

}  // namespace quorel
