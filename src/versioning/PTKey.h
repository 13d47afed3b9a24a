#pragma once

#include <cstdint>
#include <iosfwd>
#include <set>

#include "versioning/ShortPointer.h"

namespace quorel {

class ParensTreeNode;
class Version;

/// One parenthesis of one version, shared by all trees that contain it.
/// Threading:  under globalStyleLock.
/// Ownership:  made by the VersionTree, never freed.
class PTKey {
public:
  /// Writes what can be reached from here as Graphviz statements, one a line; `visited` stops repetition.
  void debug_dump(std::ostream& out, std::set<void*>& visited);

  Version* version = nullptr;
  ShortPointer<ParensTreeNode> node;  // in the master tree; null until that tree has inserted it
  std::uint32_t number = 0;
};

/// -1, 0 or 1 for `a` before, the same as, or after `b` in the master order; both must be in the master tree.
int compare(const PTKey* a, const PTKey* b);

}  // namespace quorel
