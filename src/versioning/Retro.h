#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "TinyVector.h"
#include "versioning/AbstractCache.h"
#include "versioning/ChunkedVector.h"
#include "versioning/ParensTree.h"
#include "versioning/Version.h"
#include "versioning/VersionTable.h"
#include "versioning/VersionTree.h"

namespace quorel {

/// One attribute of all vertices, or of all edges: a value of type T for every version of a tree, stored only where it
/// was set. Setting it at a version changes it for that version and for everything below that has no value of its own,
/// retroactively and without touching what is below.
/// Invariants: (1) a version has a slot in `values` exactly if its pair is in `parens`; the root always has;
///             (2) no read returns a value from before a finished `set`.
/// Threading:  no lock of its own; reading writes to the cache, so `get` and `set` both stand under globalStyleLock.
/// Ownership:  holds the values, which are never removed.
/// Cost:       `set` is O(1) at a version that has a value, else two insertions into `parens`; `get` is an array access
///             for what was read since the last change above it, else a short walk up to something that was, and never
///             more than one search in `parens`.
template <class T>
class Retro {
public:
  /// Makes the attribute with value `initial` at the root, the default for everything in the tree.
  Retro(VersionTree& tree, T initial);
  Retro(const Retro&) = delete;
  Retro& operator=(const Retro&) = delete;

  /// The value in force at `version`.
  T get(Version* version) { return look(version); }

  /// The same without a copy. The reference holds until the next `set` of this attribute.
  const T& look(Version* version) { return values[cache.get(version)]; }

  void set(Version* version, T value);

  /// The value in force, found by a search of `parens` alone. Touches neither cache nor counters.
  const T& search(Version* version) const { return values[slotBySearch(version)]; }

  /// The number of calls of `set` so far: as long as it stands, every read at a version gives what the last one gave.
  std::uint64_t changeCount() const { return changes; }

  /// The number of versions that have a value of their own.
  std::uint32_t valueCount() const { return values.size(); }

  const AbstractCache<Retro>& cacheState() const { return cache; }
  const ParensTree& subset() const { return parens; }

private:
  friend class AbstractCache<Retro>;

  /// Versions on the way up that are looked at before the search in `parens` takes over.
  static constexpr int longestWalk = 64;

  /// The slot of the value in force at `version`. For the cache.
  std::uint32_t resolve(Version* version);

  std::uint32_t slotBySearch(Version* version) const { return slots.read(parens.findEnclosing(version)->index); }

  VersionTree* versionTree;
  ChunkedVector<T> values;
  VersionTable<std::uint32_t> slots;  // where in `values` the own value of a version stands
  ParensTree parens{false};
  AbstractCache<Retro> cache;
  std::uint64_t changes = 0;
};

template <class T>
Retro<T>::Retro(VersionTree& tree, T initial) : versionTree(&tree), cache(*this) {
  parens.init(tree.root);
  // The root's is slot 0; so 0 in `slots` says that a version is the root or has no value of its own.
  values.emplace_back(std::move(initial));
}

template <class T>
void Retro<T>::set(Version* version, T value) {
  ++changes;
  std::uint32_t slot = slots.read(version->index);
  if (slot == 0 && version != versionTree->root) {
    parens.insert(version);
    slot = values.size();
    values.emplace_back(std::move(value));
    slots.write(version->index) = slot;
    // Whatever lies below now has another holder; a version with nothing below concerns only itself.
    if (version->isLeaf()) {
      cache.remember(version, slot);
    } else {
      cache.forget();
    }
  } else {
    values[slot] = std::move(value);
  }
  cache.flush();
}

template <class T>
std::uint32_t Retro<T>::resolve(Version* version) {
  // Up to the first version that has a value or of which the answer is known. The order of the tree is not needed for
  // this, and each version on the way is passed once after a change: the first pass over a whole graph is linear.
  std::uint32_t answer;
  Version* reached = version;
  int steps = 0;
  do {
    answer = slots.read(reached->index);
    if (answer != 0 || reached->parent == nullptr) break;
    if (++steps > longestWalk) {
      answer = slotBySearch(reached);
      break;
    }
    reached = reached->parent;
  } while (!cache.recall(reached, answer));
  for (Version* passed = version; passed != reached; passed = passed->parent) cache.remember(passed, answer);
  return answer;
}

extern template class Retro<bool>;
extern template class Retro<int>;
extern template class Retro<double>;
extern template class Retro<std::string>;
extern template class Retro<TinyVector<float, 3>>;

}  // namespace quorel
