#pragma once

#include <cstddef>
#include <functional>
#include <set>

#include "layout/LayoutSchema.h"
#include "layout/SlotPool.h"

namespace quorel {

template <class Schema>
class Edge;
template <class Schema>
class Graph;

/// A vertex: a particle with the edges that touch it.
/// Invariants: (1) the vertex is in `graph.vertices`; (2) every edge of `inEdges` has it as target, every edge of
///             `outEdges` as source.
/// Threading:  made, deleted and walked under the layout's lock.
/// Ownership:  belongs to the graph, and owns its edges. Deleting the pointer is the way to remove a vertex: the
///             destructor leaves the graph and deletes the edges.
/// Cost:       deletion O(degree * log of the neighbours' degrees).
template <class Schema>
class Vertex : public Schema::VertexBase, public Pooled<Vertex<Schema>> {
public:
  using Edge = quorel::Edge<Schema>;
  using Graph = quorel::Graph<Schema>;
  using EdgeSet = std::set<Edge*, std::less<Edge*>, PoolAllocator<Edge*>>;

  explicit Vertex(Graph& owner);
  Vertex(const Vertex&) = delete;
  Vertex& operator=(const Vertex&) = delete;
  virtual ~Vertex();

  std::size_t degree() const { return inEdges.size() + outEdges.size(); }

  EdgeSet inEdges;
  EdgeSet outEdges;
  Graph& graph;
};

extern template class Vertex<LayoutSchema>;

}  // namespace quorel
