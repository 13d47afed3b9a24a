#include "versioning/ParensTreePath.h"

#include <iostream>

#include "concurrency/Log.h"
#include "versioning/ParensTreeNode.h"

namespace quorel {

namespace {

void reportDamage(const ParensTreeNode* node) {
  writeLines(std::cerr, lineOf("ParensTreeNode: this=", node) + lineOf("                parent=", node->up) +
                            lineOf("                parent->left=", node->up->child[0]) +
                            lineOf("                parent->right=", node->up->child[1]));
}

int depth(const ParensTreeNode* node) {
  int steps = 0;
  for (; node->up != nullptr; node = node->up) ++steps;
  return steps;
}

/// For two different nodes, at any depth.
int compareByAscent(const ParensTreeNode* a, const ParensTreeNode* b) {
  int depthOfA = depth(a);
  int depthOfB = depth(b);
  const ParensTreeNode* belowA = nullptr;
  const ParensTreeNode* belowB = nullptr;
  while (a != b) {
    const bool liftA = depthOfA >= depthOfB;
    const bool liftB = depthOfB >= depthOfA;
    if (liftA) {
      belowA = a;
      a = a->up;
      --depthOfA;
    }
    if (liftB) {
      belowB = b;
      b = b->up;
      --depthOfB;
    }
  }
  // At the lowest common ancestor, which one of the two may be itself.
  if (belowA != nullptr) return belowA == a->child[0] ? -1 : 1;
  return belowB == a->child[1] ? -1 : 1;
}

}  // namespace

ParensTreePath::ParensTreePath(const ParensTreeNode* end) : node(end), steps(Steps{1} << 127) {
  for (const ParensTreeNode* below = end; below->up != nullptr; below = below->up) {
    const bool right = ShortPointer(below) == below->up->child[1];
    if (!right && ShortPointer(below) != below->up->child[0]) [[unlikely]] {
      reportDamage(below);
      continue;
    }
    steps = steps >> 1 | Steps{right} << 127;
  }
}

int compare(const ParensTreePath& a, const ParensTreePath& b) {
  if (a.node == b.node) return 0;
  if (a.steps != b.steps) return a.steps < b.steps ? -1 : 1;
  return compareByAscent(a.node, b.node);
}

}  // namespace quorel
