#include "layout/Graph.h"

#include <cstddef>

#include "layout/Edge.h"
#include "layout/Vertex.h"
#include "layout/randomUnit.h"

namespace quorel {

template <class Schema>
void Graph<Schema>::clear() {
  while (!vertices.empty()) delete *vertices.begin();
}

template <class Schema>
auto Graph<Schema>::newVertex() -> Vertex* {
  return new Vertex(*this);
}

template <class Schema>
auto Graph<Schema>::newVertex(float, float, float) -> Vertex* {
  return new Vertex(*this);
}

template <class Schema>
auto Graph<Schema>::newVertexNear(Vertex*) -> Vertex* {
  return new Vertex(*this);
}

template <class Schema>
auto Graph<Schema>::newEdge(Vertex* source, Vertex* target) -> Edge* {
  return new Edge(source, target);
}

template <class Schema>
void Graph<Schema>::vertexDestroyed(Vertex* vertex) {
  vertices.erase(vertex);
}

template <class Schema>
void Graph<Schema>::edgeDestroyed(Edge*) {}

template <class Schema>
TinyVector<float, 3> Graph<Schema>::randomPosition() {
  TinyVector<float, 3> position;
  for (std::size_t axis = 0; axis < 3; ++axis) position[axis] = randomUnit() - 0.5F;
  return position;
}

template <class Schema>
const char* Graph<Schema>::validate() const {
  for (const Vertex* vertex : vertices) {
    if (&vertex->graph != this) return "a vertex is of another graph";
    for (Edge* edge : vertex->outEdges) {
      if (edge->source != vertex) return "an out-edge begins elsewhere";
      if (!edge->target->inEdges.contains(edge)) return "an edge is not among the in-edges of its target";
    }
    for (Edge* edge : vertex->inEdges) {
      if (edge->target != vertex) return "an in-edge ends elsewhere";
      if (!edge->source->outEdges.contains(edge)) return "an edge is not among the out-edges of its source";
      if (!vertices.contains(edge->source)) return "an edge begins at a vertex that is gone";
    }
  }
  return nullptr;
}

template class Graph<LayoutSchema>;

}  // namespace quorel
