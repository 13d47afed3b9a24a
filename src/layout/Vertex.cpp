#include "layout/Vertex.h"

#include "layout/Edge.h"
#include "layout/Graph.h"

namespace quorel {

template <class Schema>
Vertex<Schema>::Vertex(Graph& owner) : graph(owner) {
  graph.vertices.insert(this);
}

template <class Schema>
Vertex<Schema>::~Vertex() {
  graph.vertexDestroyed(this);
  // Always the first: removing an edge may take others of this vertex along, those of its chain of knots.
  while (!outEdges.empty()) delete *outEdges.begin();
  while (!inEdges.empty()) delete *inEdges.begin();
}

template class Vertex<LayoutSchema>;

}  // namespace quorel
