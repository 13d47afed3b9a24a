#pragma once

#include <cstdint>
#include <iosfwd>
#include <set>

#include "versioning/PTKey.h"
#include "versioning/ParensTreeCell.h"
#include "versioning/ShortPointer.h"

namespace quorel {

/// The place of one parenthesis in one ParensTree.
/// Threading:  under globalStyleLock.
/// Ownership:  made by its tree, never freed.
/// Cost:       32 bytes, two to a version in each tree.
class ParensTreeNode {
public:
  explicit ParensTreeNode(PTKey* ownKey) : key(ownKey) {}

  bool isOpen() const;
  bool isClose() const;

  /// Writes what can be reached from here as Graphviz statements, one a line; `visited` stops repetition.
  void debug_dump(std::ostream& out, std::set<void*>& visited);

  ShortPointer<ParensTreeNode> up;
  ShortPointer<ParensTreeNode> child[2];  // what comes earlier, what comes later
  ShortPointer<ParensTreeNode> next;      // neighbours in the order of the whole tree
  ShortPointer<ParensTreeNode> prev;
  ShortPointer<PTKey> key;
  /// Holds the open parenthesis of the nearest version of this tree that strictly encloses this pair. Null for the
  /// root's pair and in a master tree.
  ShortPointer<ParensTreeCell> enclosing;
  std::uint32_t number = 0;
};

}  // namespace quorel
