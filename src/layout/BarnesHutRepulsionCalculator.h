#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "concurrency/MultiLockable.h"
#include "layout/BulkInsertion.h"
#include "layout/GraphArrays.h"
#include "layout/RepulsionField.h"
#include "layout/Spacetree.h"
#include "layout/VertexSummary.h"
#include "versioning/GlobalStyleLock.h"

namespace quorel {

/// The octree of one force evaluation or parallel step, over all vertices of a graph.
///
/// Building it also copies the attributes that the force loop reads out of their versioned store into plain fields of
/// the vertices and their out-edges, so that the force loop needs no lock. A vertex goes into the tree with the charge
/// of the refresh before: a change of charge reaches the tree one build later.
/// Made over two iterators it does this plainly: each vertex is inserted, then refreshed. Made over the arrays of a
/// layout it comes to the same fields and, bit for bit, the same tree in a fraction of the time, and lays the tree out
/// for the vector units as well. The trees differ in a build that finds new charges: in the plain one a leaf that splits
/// passes its eight on with the charges they have been refreshed to, in the other all sums are of the charges before.
/// Threading:  the constructor takes globalStyleLock; the caller holds the layout's lock as long as the object lives.
/// Ownership:  owns the tree, or has it in memory that it was lent.
/// Cost:       O(n log n).
template <class Vertex>
class BarnesHutRepulsionCalculator {
public:
  using Spacetree = quorel::Spacetree<VertexSummary<Vertex>, Vertex>;
  using Arrays = GraphArrays<Vertex>;

  /// What one calculator leaves for the next to use again. Lent to one at a time.
  struct Memory {
    /// Of a vertex that the tree does not hold.
    static constexpr std::uint32_t noPlace = 0xffffffff;

    Spacetree tree;
    BulkInsertion<VertexSummary<Vertex>, Vertex> insertion;
    RepulsionField field;
    /// The vertices in the tree in leaf order, their ordinals, and where in it each vertex stands, by ordinal.
    std::vector<Vertex*> leafOrder;
    std::vector<std::uint32_t> leafOrdinal;
    std::vector<std::uint32_t> leafPlace;
  };

  /// Two iterators over pointers to vertices.
  template <class Iterator>
  BarnesHutRepulsionCalculator(Iterator first, Iterator last);

  BarnesHutRepulsionCalculator(Arrays& arrays, Memory& lent);

private:
  static void refresh(Vertex& vertex);

  std::unique_ptr<Spacetree> ownTree;

public:
  Spacetree& tree;
  /// Null if the calculator was made over iterators.
  Memory* const memory = nullptr;
};

template <class Vertex>
template <class Iterator>
BarnesHutRepulsionCalculator<Vertex>::BarnesHutRepulsionCalculator(Iterator first, Iterator last)
    : ownTree(std::make_unique<Spacetree>()), tree(*ownTree) {
  const std::lock_guard<MultiLockable> hold(globalStyleLock);
  const std::lock_guard<MultiLockable> holdAgain(globalStyleLock);
  for (Iterator i = first; i != last; ++i) {
    Vertex* vertex = *i;
    tree.insert(vertex);
    refresh(*vertex);
  }
}

template <class Vertex>
BarnesHutRepulsionCalculator<Vertex>::BarnesHutRepulsionCalculator(Arrays& arrays, Memory& lent)
    : tree(lent.tree), memory(&lent) {
  const std::lock_guard<MultiLockable> hold(globalStyleLock);
  const std::lock_guard<MultiLockable> holdAgain(globalStyleLock);
  tree.clear();
  arrays.beginReading();
  lent.insertion.fill(tree, arrays.vertices, [&arrays](std::size_t vertex) { arrays.read(vertex); });
  arrays.refresh();

  const std::size_t size = arrays.vertices.size();
  lent.leafOrder.resize(size);
  lent.leafOrdinal.resize(size);
  lent.leafPlace.assign(size, Memory::noPlace);
  lent.field.layOut(tree, tree.nodeCount(), size, [&](void*& slot, std::uint32_t place) {
    const std::uint32_t ordinal = lent.insertion.settle(slot);
    lent.leafOrder[place] = arrays.vertices[ordinal];
    lent.leafOrdinal[place] = ordinal;
    lent.leafPlace[ordinal] = place;
    return std::pair(arrays.positions[ordinal], arrays.charges[ordinal]);
  });
}

template <class Vertex>
void BarnesHutRepulsionCalculator<Vertex>::refresh(Vertex& vertex) {
  vertex.charge = static_cast<float>(vertex.style.get_charge());
  for (auto* edge : vertex.outEdges) {
    edge->hasKnots = edge->style.get_knots() > 2;
    edge->strength = static_cast<float>(edge->style.get_strength());
    edge->oriented = edge->style.get_oriented();
    edge->orientation = edge->style.get_orientation();
  }
}

}  // namespace quorel
