#pragma once

#include "concurrency/MultiLockable.h"
#include "layout/Spacetree.h"
#include "layout/VertexSummary.h"
#include "versioning/GlobalStyleLock.h"

namespace quorel {

/// The octree of one force evaluation or parallel step, over all vertices of a graph.
///
/// Building it also copies the attributes that the force loop reads out of their versioned store into plain fields of
/// the vertices and their out-edges, so that the force loop needs no lock. A vertex goes into the tree with the charge
/// of the refresh before: a change of charge reaches the tree one build later.
/// Threading:  the constructor takes globalStyleLock; the caller holds the layout's lock as long as the object lives.
/// Ownership:  owns the tree.
/// Cost:       O(n log n).
template <class Vertex>
class BarnesHutRepulsionCalculator {
public:
  using Spacetree = quorel::Spacetree<VertexSummary<Vertex>, Vertex>;

  /// Two iterators over pointers to vertices.
  template <class Iterator>
  BarnesHutRepulsionCalculator(Iterator first, Iterator last);

  Spacetree tree;

private:
  static void refresh(Vertex& vertex);
};

template <class Vertex>
template <class Iterator>
BarnesHutRepulsionCalculator<Vertex>::BarnesHutRepulsionCalculator(Iterator first, Iterator last) {
  globalStyleLock.lock();
  globalStyleLock.lock();
  for (Iterator i = first; i != last; ++i) {
    Vertex* vertex = *i;
    tree.insert(vertex);
    refresh(*vertex);
  }
  globalStyleLock.unlock();
  globalStyleLock.unlock();
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
