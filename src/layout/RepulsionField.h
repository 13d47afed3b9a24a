#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <vector>

#include "TinyVector.h"
#include "layout/HilbertCurve.h"
#include "layout/RepulsionLaw.h"

namespace quorel {

/// The octree of a force evaluation in the form in which the vector units like it, and the repulsion computed from it.
///
/// The particles stand in leaf order, along a Hilbert curve, so that neighbours in memory are neighbours in space, and
/// any subtree is one run of them. Sixteen at a time walk the tree together: a node that some accept is noted with the
/// set of those, and the rest go on below it. What was noted is then summed sixteen lanes wide. Each particle applies
/// the opening test by itself, so it interacts with the very nodes and particles that a walk of its own would find,
/// summed in another order. Widths and instruction sets make no difference to the result, bit for bit: a lane is a
/// particle, whatever the number of lanes in a register.
/// Invariants: (1) the children of a node stand side by side, behind the node;
///             (2) `places` holds the particles first, in leaf order, and the nodes from `root` on.
/// Threading:  laid out by one thread; `repel` may then run on any number, each with a Scratch of its own, while
///             `moveParticle` is called by nobody, or the other way round.
/// Ownership:  refers to nothing of the tree it was made from.
/// Cost:       layOut O(n); repel O(log n) a particle.
class RepulsionField {
public:
  /// What a pair force needs to know of a node or particle: where it is, and minus the force constant times its charge.
  struct Source {
    float x;
    float y;
    float z;
    float weight;
  };

  struct Node {
    Source source;
    /// The least squared distance at which the opening test takes the node for one particle.
    float acceptedFrom;
    /// The place of the first child or, in a leaf, of the first particle.
    std::uint32_t first;
    std::uint16_t childCount;
    std::uint16_t particleCount;
    std::uint32_t isLeaf;
  };

  /// Particles and nodes stand in one array of places, and are known by the index of their place. A particle takes one, a
  /// node two, of which the first looks like a particle.
  struct alignas(Source) Place {
    std::byte bytes[sizeof(Source)];
  };
  static constexpr std::uint32_t placesOfNode = sizeof(Node) / sizeof(Place);

  static const Source& sourceAt(const Place* places, std::uint32_t place) {
    return *std::launder(reinterpret_cast<const Source*>(places + place));
  }
  static const Node& nodeAt(const Place* places, std::uint32_t place) {
    return *std::launder(reinterpret_cast<const Node*>(places + place));
  }

  /// Members of a group, and bits in a set of them.
  static constexpr std::uint32_t groupSize = 16;

  /// A run of particles in leaf order.
  struct Range {
    std::uint32_t begin;
    std::uint32_t end;
  };

  /// A pair force that some members of a group feel.
  struct Interaction {
    std::uint32_t source;
    std::uint32_t members;
  };

  /// Memory for one walk at a time.
  class Scratch {
  public:
    explicit Scratch(const RepulsionField& field);

    // Lists of nodes or sources (low half) with the set of members that they concern (high half): the nodes of a level
    // of the tree, those of the next, opened leaves, and what some members interact with. `shared` is what all do.
    std::unique_ptr<std::uint64_t[]> level;
    std::unique_ptr<std::uint64_t[]> below;
    std::unique_ptr<std::uint64_t[]> leaves;
    std::unique_ptr<std::uint32_t[]> shared;
    std::unique_ptr<std::uint64_t[]> partial;
    std::size_t sharedCount = 0;
    std::size_t partialCount = 0;
  };

  /// Lays out `tree`, which has `treeNodes` nodes and at most `particleLimit` particles. `take(slot, place)` is called
  /// for each slot of a leaf with the particle's place in leaf order, and returns its position and charge. Node charges
  /// are those summed up in the tree.
  template <class Tree, class Take>
  void layOut(const Tree& tree, std::size_t treeNodes, std::size_t particleLimit, Take take);

  std::uint32_t particleCount() const { return particles; }

  /// The particles below a node of the tree, by the number that `layOut` gave it.
  Range rangeBelow(std::uint32_t node) const;

  /// A particle goes elsewhere while the nodes stay as they are: what a stage of a step does.
  void moveParticle(std::uint32_t index, const TinyVector<float, 3>& position) {
    Source& source = *std::launder(reinterpret_cast<Source*>(places.get() + index));
    source.x = position[0];
    source.y = position[1];
    source.z = position[2];
  }

  /// The repulsion on each particle of the range, which may be put anywhere. Where a particle's position is not finite
  /// the result is none.
  void repel(Range range, Scratch& scratch, TinyVector<float, 3>* forces) const;

  /// The interactions of the members of one group, at most sixteen particles, as `repel` finds them. For tests and
  /// statistics.
  std::vector<Interaction> interactions(Range group, Scratch& scratch) const;

  const Source& source(std::uint32_t place) const { return sourceAt(places.get(), place); }

  /// The opening test, squared diagonal over squared distance below 0.9025, solved for the squared distance: the least
  /// one that passes. A comparison with it gives the outcome of the division, bit for bit.
  static float acceptedFrom(float diagonal);

private:
  friend struct RepulsionKernels;

  /// Remembers the distance of each size of node, of which there is one a level.
  class OpeningDistances {
  public:
    float from(float diagonal) {
      Entry& entry = entries[std::bit_cast<std::uint32_t>(diagonal) >> 23];
      if (entry.diagonal != diagonal) entry = {diagonal, acceptedFrom(diagonal)};
      return entry.distance;
    }

  private:
    struct Entry {
      float diagonal = -1.0F;
      float distance = 0.0F;
    };

    std::array<Entry, 256> entries;
  };

  std::uint32_t particles = 0;
  std::uint32_t root = 0;
  std::size_t nodeCount = 0;
  struct FreeAligned {
    void operator()(Place* memory) const { ::operator delete(memory, placeAlignment); }
  };

  /// Room for that many places, whatever was there before. A node lies within one cache line.
  void reserve(std::size_t placeCount);

  static constexpr std::align_val_t placeAlignment{64};
  std::unique_ptr<Place[], FreeAligned> places;
  std::size_t capacity = 0;
  std::vector<float> charges;
};

template <class Tree, class Take>
void RepulsionField::layOut(const Tree& tree, std::size_t treeNodes, std::size_t particleLimit, Take take) {
  struct Entry {
    typename Tree::Node* node;
    std::uint32_t place;
    std::uint32_t state;
  };

  nodeCount = treeNodes;
  root = static_cast<std::uint32_t>((particleLimit + placesOfNode - 1) / placesOfNode * placesOfNode);
  reserve(root + placesOfNode * nodeCount);
  charges.resize(particleLimit);
  particles = 0;
  OpeningDistances opening;
  std::uint32_t end = root + placesOfNode;
  std::vector<Entry> stack{{tree.root, root, 0}};
  while (!stack.empty()) {
    const Entry entry = stack.back();
    auto* node = entry.node;
    stack.pop_back();
    node->layoutIndex = entry.place;
    Node flat{{node->centre[0], node->centre[1], node->centre[2], -RepulsionLaw::forceConstant * node->charge},
              opening.from(node->diagonal),
              particles,
              0,
              0,
              0};
    if (node->isInternal) {
      const auto& order = hilbertCurve.order[entry.state];
      const auto& next = hilbertCurve.next[entry.state];
      for (std::size_t i = 8; i-- > 0;) {
        if (auto* child = node->node(order[i])) {
          stack.push_back({child, 0, next[i]});
          ++flat.childCount;
        }
      }
      if (flat.childCount > 0) flat.first = end;
      for (std::size_t i = 1; i <= flat.childCount; ++i, end += placesOfNode) stack[stack.size() - i].place = end;
    } else {
      for (void*& slot : node->children) {
        if (slot == nullptr) break;
        const auto [position, charge] = take(slot, particles);
        new (&places[particles]) Source{position[0], position[1], position[2], -RepulsionLaw::forceConstant * charge};
        charges[particles] = charge;
        ++particles;
        ++flat.particleCount;
      }
      flat.isLeaf = flat.particleCount > 0 ? 1 : 0;
    }
    new (&places[entry.place]) Node(flat);
  }
}

}  // namespace quorel
