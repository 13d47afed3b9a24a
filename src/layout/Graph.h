#pragma once

#include <functional>
#include <set>

#include "TinyVector.h"
#include "layout/LayoutSchema.h"
#include "layout/SlotPool.h"

namespace quorel {

template <class Schema>
class Vertex;
template <class Schema>
class Edge;

/// The bare graph: a set of vertices, each with the sets of its edges.
/// Invariant: a vertex is in `vertices` from its construction to the start of its destruction.
/// Threading: none of its own; GraphLayout adds the lock.
/// Ownership: owns its vertices, yet its destructor leaves them alone: `clear` is what deletes them.
template <class Schema>
class Graph {
public:
  using Vertex = quorel::Vertex<Schema>;
  using Edge = quorel::Edge<Schema>;
  using VertexSet = std::set<Vertex*, std::less<Vertex*>, PoolAllocator<Vertex*>>;

  Graph() = default;
  Graph(const Graph&) = delete;
  Graph& operator=(const Graph&) = delete;

  virtual void clear();
  virtual Vertex* newVertex();
  virtual Vertex* newVertex(float x, float y, float z);
  virtual Vertex* newVertexNear(Vertex* near);
  virtual Edge* newEdge(Vertex* source, Vertex* target);
  /// Called by the destructors of vertices and edges while the object is still whole.
  virtual void vertexDestroyed(Vertex* vertex);
  virtual void edgeDestroyed(Edge* edge);
  virtual void reservedHook() {}
  /// A point of the cube of edge 1 about the origin.
  virtual TinyVector<float, 3> randomPosition();

  /// Walks the whole graph and checks its invariants; null when they hold, or what is wrong.
  const char* validate() const;

  int numVertices() const { return static_cast<int>(vertices.size()); }

  VertexSet vertices;

protected:
  ~Graph() = default;
};

extern template class Graph<LayoutSchema>;

}  // namespace quorel
