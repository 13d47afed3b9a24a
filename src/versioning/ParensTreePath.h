#pragma once

namespace quorel {

class ParensTreeNode;

/// The way from the root of a tree down to a node, as a number that orders nodes by their in-order position.
/// The steps stand from the highest bit downward, 0 for `child[0]` and 1 for `child[1]`, then a 1 that stands for the
/// node itself: all of its left subtree is smaller then, all of its right subtree greater. A tree kept by its random
/// priorities is never as deep as the record is long (127 steps); if one were, equal records are told apart by the
/// nodes.
/// Threading:  under globalStyleLock; holds until the tree changes.
/// Cost:       O(depth), no allocation.
class ParensTreePath {
public:
  explicit ParensTreePath(const ParensTreeNode* end);

  /// -1, 0 or 1 for `a` before, the same as, or after `b`.
  friend int compare(const ParensTreePath& a, const ParensTreePath& b);

private:
  __extension__ using Steps = unsigned __int128;

  const ParensTreeNode* node;
  Steps steps;
};

}  // namespace quorel
