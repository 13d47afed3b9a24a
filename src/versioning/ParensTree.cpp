#include "versioning/ParensTree.h"

#include <cassert>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <ostream>
#include <vector>

#include "versioning/ParensTreePath.h"
#include "versioning/Version.h"

namespace quorel {

namespace {

std::uint32_t scatter(std::uint64_t address) {
  const double product = static_cast<double>(address) * 0.541592653589793;
  return static_cast<std::uint32_t>((product - std::floor(product)) * 4294967295.0);
}

/// Whether a node at address `a` belongs above one at address `b`. A strict order: equal scatterings are scattered
/// anew, each from itself alone, until they differ.
bool hasHigherPriority(const ParensTreeNode* a, const ParensTreeNode* b) {
  std::uint64_t s = reinterpret_cast<std::uintptr_t>(a);
  std::uint64_t t = reinterpret_cast<std::uintptr_t>(b);
  while (s != t) {
    const std::uint32_t scatteredS = scatter(s);
    const std::uint32_t scatteredT = scatter(t);
    if (scatteredS != scatteredT) return scatteredS > scatteredT;
    s = static_cast<std::uint32_t>(s) + scatteredS;
    t = static_cast<std::uint32_t>(t) + scatteredT;
    s = static_cast<std::uint32_t>(s);
    t = static_cast<std::uint32_t>(t);
  }
  return a > b;
}

/// Places `node` in the list of its neighbours, directly before (side 0) or after (side 1) `where`.
void link(ParensTreeNode* node, ParensTreeNode* where, int side) {
  ParensTreeNode* const before = side == 0 ? where->prev : ShortPointer(where);
  ParensTreeNode* const after = side == 0 ? ShortPointer(where) : where->next;
  node->prev = before;
  node->next = after;
  if (before != nullptr) before->next = node;
  if (after != nullptr) after->prev = node;
}

const ParensTreeNode* inOrderSuccessor(const ParensTreeNode* node) {
  if (node->child[1] != nullptr) {
    for (node = node->child[1]; node->child[0] != nullptr; node = node->child[0]) continue;
    return node;
  }
  while (node->up != nullptr && node == node->up->child[1]) node = node->up;
  return node->up;
}

enum class Direction { backward, forward };

/// Walk over the parentheses of one nesting level, from a given one to the parenthesis that bounds the level, passing
/// over what is nested deeper.
class LevelWalk {
public:
  LevelWalk(ParensTreeNode* start, Direction along) : node(start), direction(along) {}

  /// One node further; false, and no further, once at the bound.
  bool advance() {
    const bool entering = direction == Direction::forward ? node->isOpen() : node->isClose();
    if (!entering && depth == 0) return false;
    if (!entering) --depth;
    if (depth == 0) level.push_back(node);
    if (entering) ++depth;
    node = direction == Direction::forward ? node->next : node->prev;
    return true;
  }

  /// Gives every parenthesis of the level that has been passed to another cell.
  void relabel(ParensTreeCell* cell) const {
    for (ParensTreeNode* passed : level) passed->enclosing = cell;
  }

private:
  ParensTreeNode* node;
  Direction direction;
  int depth = 0;
  std::vector<ParensTreeNode*> level;
};

}  // namespace

void ParensTree::init(Version* rootVersion) {
  root = makeNode(rootVersion->first);
  insertAfter(root, rootVersion->last);
}

void ParensTree::insertAfter(ParensTreeNode* where, PTKey* key) {
  assert(!isMaster || key->node == nullptr);
  ParensTreeNode* const node = makeNode(key);
  ParensTreeNode* below = where;
  int side = 1;
  if (where->child[1] != nullptr) {
    for (below = where->child[1]; below->child[0] != nullptr; below = below->child[0]) continue;
    side = 0;
  }
  attach(node, below, side);
}

void ParensTree::insert(Version* version) {
  assert(!isMaster);
  const Place place = closest(version->first);
  if (place.order == 0) return;
  ParensTreeNode* const open = makeNode(version->first);
  attach(open, place.node, place.order < 0 ? 0 : 1);
  // The first insertion has moved the place of the second.
  const Place placeOfLast = closest(version->last);
  ParensTreeNode* const close = makeNode(version->last);
  attach(close, placeOfLast.node, placeOfLast.order < 0 ? 0 : 1);
  enclose(open, close);
}

Version* ParensTree::findEnclosing(Version* version) const {
  const auto [node, order] = closest(version->first);
  if (order == 0) return version;
  const bool besideSibling = order < 0 ? node->isOpen() : node->isClose();
  return besideSibling ? node->enclosing->key->version : node->key->version;
}

ParensTreeNode* ParensTree::makeNode(PTKey* key) {
  ParensTreeNode& node = nodes.make(key);
  if (isMaster) key->node = &node;
  return &node;
}

ParensTree::Place ParensTree::closest(const PTKey* key) const {
  const ParensTreePath path(key->node);
  ParensTreeNode* node = root;
  while (true) {
    const int order = compare(path, ParensTreePath(node->key->node));
    if (order == 0) return {node, 0};
    ParensTreeNode* const child = node->child[order < 0 ? 0 : 1];
    if (child == nullptr) return {node, order};
    node = child;
  }
}

void ParensTree::attach(ParensTreeNode* node, ParensTreeNode* below, int side) {
  below->child[side] = node;
  node->up = below;
  // A new leaf is the direct neighbour of the node that it hangs from.
  link(node, below, side);
  while (node->up != nullptr && hasHigherPriority(node, node->up)) rotateUp(node);
}

void ParensTree::rotateUp(ParensTreeNode* node) {
  ParensTreeNode* const parent = node->up;
  ParensTreeNode* const grandparent = parent->up;
  const int side = node == parent->child[0] ? 0 : 1;
  ParensTreeNode* const changing = node->child[1 - side];

  parent->child[side] = changing;
  if (changing != nullptr) changing->up = parent;
  node->child[1 - side] = parent;
  parent->up = node;
  node->up = grandparent;
  if (grandparent == nullptr) {
    root = node;
  } else {
    grandparent->child[parent == grandparent->child[0] ? 0 : 1] = node;
  }
}

void ParensTree::enclose(ParensTreeNode* open, ParensTreeNode* close) {
  ParensTreeNode* const before = open->prev;
  ParensTreeNode* const after = close->next;
  const auto siblingsCell = [&]() -> ParensTreeCell* {
    return before->isClose() ? before->enclosing : after->enclosing;
  };
  ParensTreeCell* cell;
  if (open->next == close) {
    const bool onlyChild = before->isOpen() && after->isClose();
    cell = onlyChild ? &cells.make(before->key) : siblingsCell();
  } else {
    // What is inside and what is outside have shared a cell, and one of the two must move to another. All three walks
    // end where the level does; they go in step, so that the cost is that of the shorter side: nothing for a version
    // that surrounds all others of its level, however many they are.
    LevelWalk inside(open->next, Direction::forward);
    LevelWalk outsideBefore(before, Direction::backward);
    LevelWalk outsideAfter(after, Direction::forward);
    bool moreInside = true;
    bool moreOutside = true;
    while (moreInside && moreOutside) {
      moreInside = inside.advance();
      moreOutside = outsideBefore.advance() || outsideAfter.advance();
    }
    const bool moveOutside = moreInside == moreOutside ? std::rand() % 2 == 0 : moreInside;
    if (moveOutside) {
      ParensTreeCell* const insideCell = open->next->enclosing;
      cell = &cells.make(insideCell->key);
      insideCell->key = open->key;
      outsideBefore.relabel(cell);
      outsideAfter.relabel(cell);
    } else {
      cell = siblingsCell();
      inside.relabel(&cells.make(open->key));
    }
  }
  open->enclosing = cell;
  close->enclosing = cell;
}

std::string ParensTree::validate() const {
  if (root == nullptr) return "no root";
  if (root->up != nullptr) return "the root has a parent";
  const ParensTreeNode* node = root;
  while (node->child[0] != nullptr) node = node->child[0];
  const Version* const outermost = node->key->version;
  if (node->prev != nullptr) return "something stands before the first node";

  std::vector<const ParensTreeNode*> around;                // the open parentheses that enclose the present node
  std::map<const ParensTreeNode*, ParensTreeCell*> cellOf;  // what the pairs directly inside one of them share
  const ParensTreeNode* last = nullptr;
  for (; node != nullptr; last = node, node = inOrderSuccessor(node)) {
    if (node->prev != last || (last != nullptr && last->next != node)) return "the list is not the in-order sequence";
    for (const ParensTreeNode* child : node->child) {
      if (child == nullptr) continue;
      if (child->up != node) return "a child does not know its parent";
      if (hasHigherPriority(child, node)) return "a priority is above its parent's";
    }
    if (node->isClose()) {
      if (around.empty() || around.back()->key->version != node->key->version) return "unbalanced";
      around.pop_back();
    } else if (!node->isOpen()) {
      return "a key is none of its version's";
    }
    if (around.empty() && node->key->version != outermost) return "something stands outside the root's pair";
    if (isMaster) {
      if (node->key->node != node) return "a key does not know its node";
      if (node->enclosing != nullptr) return "a cell in a master tree";
    } else if (around.empty()) {
      if (node->enclosing != nullptr) return "a cell at the root's pair";
    } else {
      if (node->enclosing == nullptr) return "no cell";
      if (node->enclosing->key != around.back()->key) return "a cell does not hold the nearest enclosing version";
      if (cellOf.try_emplace(around.back(), node->enclosing).first->second != node->enclosing) return "two cells";
      if (compare(last->key, node->key) != -1) return "not in the master's order";
    }
    if (node->isOpen()) around.push_back(node);
  }
  if (!around.empty()) return "unbalanced";
  if (last->next != nullptr) return "something stands after the last node";
  return "";
}

void ParensTree::debug_dump(std::ostream& out, std::set<void*>& visited) {
  if (!visited.insert(this).second) return;
  out << 'v' << this << " [label=\"ParensTree\"]\n";
  if (root == nullptr) return;
  out << 'v' << this << " -> v" << root << " [label=\"root\"]\n";
  root->debug_dump(out, visited);
}

}  // namespace quorel
