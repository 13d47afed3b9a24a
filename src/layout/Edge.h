#pragma once

#include "layout/LayoutSchema.h"
#include "layout/SlotPool.h"

namespace quorel {

template <class Schema>
class Vertex;

/// A directed edge.
/// Invariants: (1) `source` and `target` are never null and never change;
///             (2) the edge is in `source->outEdges` and in `target->inEdges`, and in no other set.
/// Threading:  made, deleted and walked under the layout's lock.
/// Ownership:  belongs to its vertices and goes with the first of them that goes. Deleting the pointer is the way to
///             remove an edge: the destructor tells the graph and leaves the two sets.
template <class Schema>
class Edge : public Schema::EdgeBase, public Pooled<Edge<Schema>> {
public:
  using Vertex = quorel::Vertex<Schema>;

  Edge(Vertex* from, Vertex* to);
  Edge(const Edge&) = delete;
  Edge& operator=(const Edge&) = delete;
  virtual ~Edge();

  virtual void reservedHook() {}

  Vertex* const source;
  Vertex* const target;
};

extern template class Edge<LayoutSchema>;

}  // namespace quorel
