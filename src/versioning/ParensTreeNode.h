#pragma once

#include <iosfwd>
#include <set>

namespace quorel {

class PTKey;

/// The place of one parenthesis in one ParensTree.
/// Threading:  under globalStyleLock.
/// Ownership:  its tree's.
class ParensTreeNode {
public:
  explicit ParensTreeNode(PTKey* ownKey) : key(ownKey) {}

  bool isOpen() const;
  bool isClose() const;

  /// Writes what can be reached from here as Graphviz statements, one a line; `visited` stops repetition.
  void debug_dump(std::ostream& out, std::set<void*>& visited);

  ParensTreeNode* up = nullptr;
  ParensTreeNode* child[2] = {nullptr, nullptr};  // what comes earlier, what comes later
  ParensTreeNode* next = nullptr;                 // neighbours in the order of the whole tree
  ParensTreeNode* prev = nullptr;
  PTKey* key;
  /// Holds the open parenthesis of the nearest version of this tree that strictly encloses this pair. All pairs
  /// directly inside one version share the cell, so that one write moves them all. Null for the root's pair and in a
  /// master tree.
  PTKey** enclosing = nullptr;
};

}  // namespace quorel
