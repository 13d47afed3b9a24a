#include "layout/Edge.h"

#include "layout/Graph.h"
#include "layout/Vertex.h"

namespace quorel {

template <class Schema>
Edge<Schema>::Edge(Vertex* from, Vertex* to) : source(from), target(to) {
  source->outEdges.insert(this);
  target->inEdges.insert(this);
}

template <class Schema>
Edge<Schema>::~Edge() {
  source->graph.edgeDestroyed(this);
  source->outEdges.erase(this);
  target->inEdges.erase(this);
}

template class Edge<LayoutSchema>;

}  // namespace quorel
