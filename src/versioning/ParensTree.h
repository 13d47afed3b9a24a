#pragma once

#include <iosfwd>
#include <set>
#include <string>

#include "versioning/NumberedStore.h"
#include "versioning/PTKey.h"
#include "versioning/ParensTreeCell.h"
#include "versioning/ParensTreeNode.h"

namespace quorel {

/// Search tree over a balanced string of parentheses, one pair a version; the descendants of a version stand between
/// its two. The master tree holds every version and defines the order of all parentheses by the positions of its
/// nodes; a subset tree holds some versions, is searched by the master's order, and knows which of its versions
/// directly encloses which.
/// A treap (Aragon and Seidel, 1989) whose priorities are computed from the nodes' addresses.
/// Invariants: (1) the in-order sequence is balanced, the root version's pair outside;
///             (2) a node's priority is never above its parent's;
///             (3) in a subset tree the cell of every node but the root pair's holds the `first` key of the nearest
///                 enclosing version of this tree.
/// Threading:  no lock of its own; every use of a master tree and of its subset trees stands under globalStyleLock.
/// Ownership:  nodes and cells are never freed.
/// Cost:       a search is one key comparison a level, expected O(log n) of them, each expected O(log m) for a master
///             tree of m nodes; nothing is allocated by it.
class ParensTree {
public:
  explicit ParensTree(bool master) : isMaster(master) {}
  ParensTree(const ParensTree&) = delete;
  ParensTree& operator=(const ParensTree&) = delete;

  /// Puts the pair of the root version into the empty tree.
  void init(Version* rootVersion);

  /// Master tree: makes a node for `key` directly after `where`.
  void insertAfter(ParensTreeNode* where, PTKey* key);

  /// Subset tree: puts in the pair of a version; does nothing if it is there already.
  void insert(Version* version);

  /// The version itself if it is in this tree, else the nearest version of this tree that encloses it.
  Version* findEnclosing(Version* version) const;

  /// The first invariant found broken, in words; empty if all hold. Walks the whole tree.
  std::string validate() const;

  /// Writes the whole structure as Graphviz statements, one a line; `visited` stops repetition.
  void debug_dump(std::ostream& out, std::set<void*>& visited);

  ParensTreeNode* root = nullptr;
  bool isMaster;

private:
  /// A direct neighbour of the place of a key: the key stands before (-1), at (0) or after (1) the node.
  struct Place {
    ParensTreeNode* node;
    int order;
  };

  Place closest(const PTKey* key) const;
  ParensTreeNode* makeNode(PTKey* key);

  /// Hangs a new leaf in, links it into the list and restores the order of priorities.
  void attach(ParensTreeNode* node, ParensTreeNode* below, int side);
  void rotateUp(ParensTreeNode* node);

  /// Settles the cells after a pair has been inserted.
  void enclose(ParensTreeNode* open, ParensTreeNode* close);

  NumberedStore<ParensTreeNode> nodes;
  NumberedStore<ParensTreeCell> cells;
};

}  // namespace quorel
