#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <memory>
#include <new>
#include <type_traits>
#include <vector>

#include "TinyVector.h"
#include "concurrency/Log.h"

namespace quorel {

/// Storage of tree nodes: taken one by one, given back all in one stroke.
/// Cost: O(1) a node and O(blocks) for `clear`, which keeps the blocks for the next tree.
template <class Node>
class NodeArena {
public:
  static_assert(std::is_trivially_destructible_v<Node>, "nodes are dropped without a destructor call");

  NodeArena() = default;
  NodeArena(const NodeArena&) = delete;
  NodeArena& operator=(const NodeArena&) = delete;

  Node* make() {
    ++made;
    if (block == blocks.size() || used == blocks[block].size) nextBlock();
    return new (blocks[block].memory.get() + sizeof(Node) * used++) Node();
  }

  void clear() {
    block = 0;
    used = 0;
    made = 0;
  }

  std::size_t size() const { return made; }

  template <class Visit>
  void forEach(Visit visit) {
    for (std::size_t b = 0; b < blocks.size() && b <= block; ++b) {
      const std::size_t end = b == block ? used : blocks[b].size;
      for (std::size_t i = 0; i < end; ++i) {
        visit(*std::launder(reinterpret_cast<Node*>(blocks[b].memory.get() + sizeof(Node) * i)));
      }
    }
  }

private:
  struct Block {
    std::unique_ptr<std::byte[]> memory;
    std::size_t size;
  };

  void nextBlock() {
    if (block < blocks.size()) ++block;
    used = 0;
    if (block < blocks.size()) return;
    const std::size_t size = blocks.empty() ? firstBlockSize : 2 * blocks.back().size;
    blocks.push_back({std::unique_ptr<std::byte[]>(new std::byte[size * sizeof(Node)]), size});
  }

  static constexpr std::size_t firstBlockSize = 64;

  std::vector<Block> blocks;
  std::size_t block = 0;
  std::size_t used = 0;
  std::size_t made = 0;
};

/// A node of the octree: a summary of the particles that were inserted through it, and its children.
/// Invariants: (1) a leaf holds particles in its first slots, without gaps; an internal node holds nodes, one an
///                 octant, any of them null;
///             (2) `count` is the number of particles inserted through the node, dropped ones included.
/// The node does not store its box: a walk carries it along, and the node stays small.
template <class Summary, class Particle>
class SpacetreeNode : public Summary {
public:
  using Arena = NodeArena<SpacetreeNode>;

  /// The half-open box lower <= p < upper.
  struct Box {
    TinyVector<float, 3> lower;
    TinyVector<float, 3> upper;

    bool contains(const TinyVector<float, 3>& p) const {
      for (std::size_t i = 0; i < 3; ++i) {
        if (!(lower[i] <= p[i] && p[i] < upper[i])) return false;
      }
      return true;
    }

    TinyVector<float, 3> midpoint() const { return 0.5F * (lower + upper); }

    /// 4 for the upper half of x, 2 for that of y, 1 for that of z; a point on the midpoint is in the upper half.
    int octantOf(const TinyVector<float, 3>& p) const {
      const TinyVector<float, 3> m = midpoint();
      return (p[0] >= m[0] ? 4 : 0) | (p[1] >= m[1] ? 2 : 0) | (p[2] >= m[2] ? 1 : 0);
    }

    Box octant(int index) const { return octant(index, midpoint()); }

    /// The same for a caller that knows the midpoint.
    Box octant(int index, const TinyVector<float, 3>& m) const {
      const bool x = (index & 4) != 0;
      const bool y = (index & 2) != 0;
      const bool z = (index & 1) != 0;
      return {{x ? m[0] : lower[0], y ? m[1] : lower[1], z ? m[2] : lower[2]},
              {x ? upper[0] : m[0], y ? upper[1] : m[1], z ? upper[2] : m[2]}};
    }

    float diagonal() const { return length(upper - lower); }
  };

  static constexpr int slotCount = 8;
  /// Particles that no split has separated by then are dropped: they coincide, or nearly so.
  static constexpr int maxDepth = 50;

  SpacetreeNode* node(int slot) const { return static_cast<SpacetreeNode*>(children[slot]); }
  Particle* particle(int slot) const { return static_cast<Particle*>(children[slot]); }

  void addToSummary(const Particle& particle, const Box& box) {
    count += 1;
    Summary::add(particle);
    diagonal = box.diagonal();
  }

  /// Puts the particle below this node, whose own summary is left alone. `box` is the node's box on entry and some box
  /// below it on return.
  void insert_without_summarize(Box& box, Particle* particle, int depth, Arena& arena);

  int count = 0;
  bool isInternal = false;
  float diagonal = 0.0F;
  /// The number that the vector form of the tree gave to this node.
  std::uint32_t layoutIndex = 0;
  std::array<void*, slotCount> children{};

private:
  template <class, class>
  friend class BulkInsertion;

  void insertIntoOctant(Box& box, Particle* particle, int depth, Arena& arena);
  void split(Box& box, Particle* particle, int oldDepth, int newDepth, Arena& arena);
};

/// Octree over particles in a fixed box, built from scratch for each force evaluation. Leaves hold up to eight.
///
/// Particle needs `position` and `charge`. The tree is also the list of work that the parallel step is cut from, and
/// can be drawn.
/// Threading:  built by one thread; walked by any number at once, each with its own Iterator.
/// Ownership:  points to the particles and owns its nodes, which all go at once.
/// Cost:       insertion O(depth), which is O(log n) for particles spread evenly.
template <class Summary, class Particle>
class Spacetree {
public:
  using Node = SpacetreeNode<Summary, Particle>;
  using Box = typename Node::Box;

  /// A place in the tree: a node with its box, or the particle in one slot of a leaf.
  struct TreePosition {
    static constexpr std::uint32_t wholeNode = 0xffffffff;

    bool isParticle() const { return index != wholeNode; }
    Particle* particle() const { return node->particle(static_cast<int>(index)); }

    Box box;
    Node* node = nullptr;
    std::uint32_t index = wholeNode;
  };

  /// A walk in progress: a stack of places, the top at the back. A copy is a walk of its own.
  class Iterator {
  public:
    bool empty() const { return stack.empty(); }
    const TreePosition& top() const { return stack.back(); }
    void push(const TreePosition& position) { stack.push_back(position); }

    TreePosition pop() {
      const TreePosition position = stack.back();
      stack.pop_back();
      return position;
    }

    std::vector<TreePosition> stack;
  };

  Spacetree() : root(arena.make()) {}
  Spacetree(const Spacetree&) = delete;
  Spacetree& operator=(const Spacetree&) = delete;

  /// Puts a particle into the tree. A position that is not finite or outside `rootBox` is reported to standard error,
  /// and the particle is left out; false then.
  bool insert(Particle* particle);

  /// Drops all nodes but an empty root.
  void clear() {
    arena.clear();
    root = arena.make();
  }

  std::size_t nodeCount() const { return arena.size(); }

  TreePosition rootPosition() const { return {rootBox, root, TreePosition::wholeNode}; }

  /// Pushes what a node consists of: its child nodes in octant order, or the particles of a leaf in slot order. Popping
  /// thus visits them from the last to the first.
  static void expand(const TreePosition& position, Iterator& iterator);

  /// Walks the whole tree and checks its invariants; null when they hold, or what is wrong.
  const char* validate() const;

private:
  template <class, class>
  friend class BulkInsertion;

  /// Whether a particle may go into the tree; reported if not.
  bool accepts(const Particle& particle) const;

  typename Node::Arena arena;

public:
  Node* root;
  const Box rootBox{{-1024.0F, -1024.0F, -1024.0F}, {1024.0F, 1024.0F, 1024.0F}};
};

template <class Summary, class Particle>
void SpacetreeNode<Summary, Particle>::insert_without_summarize(Box& box, Particle* particle, int depth, Arena& arena) {
  if (depth > maxDepth) return;
  if (isInternal) {
    insertIntoOctant(box, particle, depth + 1, arena);
    return;
  }
  for (void*& slot : children) {
    if (slot == nullptr) {
      slot = particle;
      return;
    }
  }
  split(box, particle, depth + 2, depth + 1, arena);
}

template <class Summary, class Particle>
void SpacetreeNode<Summary, Particle>::insertIntoOctant(Box& box, Particle* particle, int depth, Arena& arena) {
  const int index = box.octantOf(particle->position);
  box = box.octant(index);
  if (children[index] == nullptr) children[index] = arena.make();
  SpacetreeNode* child = node(index);
  child->addToSummary(*particle, box);
  child->insert_without_summarize(box, particle, depth, arena);
}

/// A full leaf becomes internal, and its particles and the new one move down. The old ones are charged a level more, so
/// that the recursion ends where all nine coincide.
template <class Summary, class Particle>
void SpacetreeNode<Summary, Particle>::split(Box& box, Particle* particle, int oldDepth, int newDepth, Arena& arena) {
  const std::array<void*, slotCount> old = children;
  isInternal = true;
  children = {};
  for (void* slot : old) {
    Box oldBox = box;
    insert_without_summarize(oldBox, static_cast<Particle*>(slot), oldDepth, arena);
  }
  insert_without_summarize(box, particle, newDepth, arena);
}

template <class Summary, class Particle>
bool Spacetree<Summary, Particle>::accepts(const Particle& particle) const {
  // A number that is none, or infinite, is in no box.
  if (rootBox.contains(particle.position)) return true;
  writeLine(std::cerr, "Particle position not finite or outside root box: ", particle.position);
  return false;
}

template <class Summary, class Particle>
bool Spacetree<Summary, Particle>::insert(Particle* particle) {
  if (!accepts(*particle)) return false;
  Box box = rootBox;
  root->addToSummary(*particle, box);
  root->insert_without_summarize(box, particle, 1, arena);
  return true;
}

template <class Summary, class Particle>
void Spacetree<Summary, Particle>::expand(const TreePosition& position, Iterator& iterator) {
  Node* node = position.node;
  if (node->isInternal) {
    const Box& box = position.box;
    const TinyVector<float, 3> m = box.midpoint();
    for (int i = 0; i < Node::slotCount; ++i) {
      if (node->children[i] != nullptr) iterator.push({box.octant(i, m), node->node(i), TreePosition::wholeNode});
    }
  } else {
    for (int i = 0; i < Node::slotCount && node->children[i] != nullptr; ++i) {
      iterator.push({position.box, node, static_cast<std::uint32_t>(i)});
    }
  }
}

template <class Summary, class Particle>
const char* Spacetree<Summary, Particle>::validate() const {
  Iterator iterator;
  iterator.push(rootPosition());
  while (!iterator.empty()) {
    const TreePosition position = iterator.pop();
    if (position.isParticle()) {
      if (!position.box.contains(position.particle()->position)) return "a particle lies outside the box of its leaf";
      continue;
    }
    const Node& node = *position.node;
    int below = 0;
    bool gap = false;
    for (int i = 0; i < Node::slotCount; ++i) {
      if (node.children[i] == nullptr) {
        gap = true;
        continue;
      }
      if (!node.isInternal && gap) return "a leaf has a gap between its particles";
      below += node.isInternal ? node.node(i)->count : 1;
    }
    if (below > node.count) return "a node counts fewer particles than lie below it";
    if (node.isInternal && node.count <= Node::slotCount) return "an internal node would fit into a leaf";
    if (node.count > 0 && node.diagonal != position.box.diagonal()) return "a node has the diagonal of another box";
    expand(position, iterator);
  }
  return nullptr;
}

}  // namespace quorel
