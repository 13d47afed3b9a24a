#include "layout/GraphLayout.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <mutex>

#include "concurrency/Platform.h"
#include "concurrency/ThreadPool.h"
#include "layout/LayoutTask.h"
#include "layout/randomUnit.h"
#include "versioning/GlobalStyleLock.h"

namespace quorel {

namespace {

void makeIdentity(float (&matrix)[3][3]) {
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) matrix[i][j] = i == j ? 1.0F : 0.0F;
  }
}

/// A point of the box of edge `extent` about `centre`.
TinyVector<float, 3> randomPositionAbout(const TinyVector<float, 3>& centre, double extent) {
  TinyVector<float, 3> position;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    position[axis] = static_cast<float>(centre[axis] + extent * (randomUnit() - 0.5));
  }
  return position;
}

/// Puts a vertex that no step has moved yet to its first place.
template <class Vertex>
void place(Vertex& vertex, const TinyVector<float, 3>& position) {
  vertex.position = position;
  vertex.start.position = position;
  vertex.start.velocity = vertex.velocity;
}

}  // namespace

template <class Schema>
GraphLayout<Schema>::GraphLayout()
    : MultiLockable(0),
      friction(0.25F),
      use_runge_kutta(true),
      parallel(true),
      processorCount(numProcessors()),
      threadPool(nullptr),
      springConstant(0.0F) {
  GraphLayout::clear();
  resetDefaultStyles();
}

template <class Schema>
GraphLayout<Schema>::~GraphLayout() {
  delete threadPool;
  for (const auto& [edge, chain] : knots) delete chain;
}

template <class Schema>
void GraphLayout<Schema>::clear() {
  {
    const std::lock_guard<MultiLockable> hold(*this);
    while (!knots.empty()) clearKnots(knots.begin()->first);
    Graph<Schema>::clear();
  }
  maxForce = 10.0F;
  overshoot.store(false, std::memory_order_relaxed);
  makeIdentity(covariance);
  makeIdentity(axes);
  eigenvalues = {1.0F, 1.0F, 1.0F};
  mean = {};
  centroid = {};
  startStateValid = false;
  time_step = 2.0F;
  step_scale = 1.0F;
  changeCount = 0;
}

template <class Schema>
auto GraphLayout<Schema>::newVertex() -> Vertex* {
  const std::lock_guard<MultiLockable> hold(*this);
  auto* vertex = new Vertex(*this);
  arrays.invalidate();
  place(*vertex, this->randomPosition());
  vertex->style = VertexStyle::following(defaultVertexStyle);
  graphChanged();
  return vertex;
}

template <class Schema>
auto GraphLayout<Schema>::newVertex(float x, float y, float z) -> Vertex* {
  const std::lock_guard<MultiLockable> hold(*this);
  auto* vertex = new Vertex(*this);
  arrays.invalidate();
  place(*vertex, {x, y, z});
  vertex->style = VertexStyle::following(defaultVertexStyle);
  return vertex;
}

template <class Schema>
auto GraphLayout<Schema>::newVertexNear(Vertex* near) -> Vertex* {
  const std::lock_guard<MultiLockable> hold(*this);
  auto* vertex = new Vertex(*this);
  arrays.invalidate();
  place(*vertex, randomPositionAbout(near->position, pairDistance));
  vertex->style = VertexStyle::following(defaultVertexStyle);
  return vertex;
}

template <class Schema>
auto GraphLayout<Schema>::newEdge(Vertex* source, Vertex* target) -> Edge* {
  const std::lock_guard<MultiLockable> hold(*this);
  if (source->degree() == 0) {
    source->position = randomPositionAbout(target->position, pairDistance);
    source->start.position = source->position;
  } else if (target->degree() == 0) {
    target->position = randomPositionAbout(source->position, pairDistance);
    target->start.position = target->position;
  }
  auto* edge = new Edge(source, target);
  arrays.invalidate();
  edge->style = EdgeStyle::following(defaultEdgeStyle);
  graphChanged();
  return edge;
}

template <class Schema>
void GraphLayout<Schema>::vertexDestroyed(Vertex* vertex) {
  const std::lock_guard<MultiLockable> hold(*this);
  Graph<Schema>::vertexDestroyed(vertex);
  arrays.invalidate();
  graphChanged();
}

template <class Schema>
void GraphLayout<Schema>::edgeDestroyed(Edge* edge) {
  const std::lock_guard<MultiLockable> hold(*this);
  if (knots.contains(edge)) clearKnots(edge);
  arrays.invalidate();
  graphChanged();
}

template <class Schema>
DynamicFrame<float>* GraphLayout<Schema>::vertexFrame(Vertex*) {
  return nullptr;
}

template <class Schema>
TinyVector<float, 3> GraphLayout<Schema>::vertexOffset(Vertex*) {
  return {};
}

template <class Schema>
DynamicFrame<float>* GraphLayout<Schema>::frame() {
  return nullptr;
}

template <class Schema>
GraphLayout<Schema>* GraphLayout<Schema>::coarser() {
  return nullptr;
}

template <class Schema>
void GraphLayout<Schema>::graphChanged() {
  ++changeCount;
}

template <class Schema>
void GraphLayout<Schema>::keyPressed(unsigned char) {}

template <class Schema>
void GraphLayout<Schema>::resetLayout() {
  const std::lock_guard<MultiLockable> hold(*this);
  constexpr double unitBallVolume = 4.1887902047863905;
  // At rest a graph fills about one ball of radius pairDistance a vertex.
  const double volume = unitBallVolume * this->numVertices() * std::pow(double(pairDistance), 3.0);
  const float extent = static_cast<float>(0.5 * std::pow(volume, 1.0 / 3.0));
  for (Vertex* vertex : this->vertices) {
    vertex->velocity = {};
    place(*vertex, randomPositionAbout({}, extent));
  }
  startStateValid = false;
}

template <class Schema>
void GraphLayout<Schema>::resetDefaultStyles() {
  const std::lock_guard<MultiLockable> hold(globalStyleLock);
  defaultVertexStyle = VertexStyle::below(originalVertexStyle);
  defaultEdgeStyle = EdgeStyle::below(originalEdgeStyle);

  knotEdgeStyle = EdgeStyle::below(originalEdgeStyle);
  knotEdgeStyle.set_visible(false);
  knotEdgeStyle.set_length(0.33);
  knotEdgeStyle.set_knots(2);

  knotVertexStyle = VertexStyle::below(originalVertexStyle);
  knotVertexStyle.set_visible(false);
  knotVertexStyle.set_charge(0.25);
  knotVertexStyle.set_size(0.1);
}

template <class Schema>
const char* GraphLayout<Schema>::validate() const {
  for (const auto& [edge, knotsOfEdge] : knots) {
    const auto& chain = *knotsOfEdge;
    if (!edge->source->outEdges.contains(edge)) return "a chain belongs to an edge that is gone";
    if (chain.size() < 3 || chain.front() != edge->source || chain.back() != edge->target) {
      return "a chain does not lead from the source of its edge to the target";
    }
    for (std::size_t i = 0; i + 1 < chain.size(); ++i) {
      const bool linked =
          std::ranges::any_of(chain[i]->outEdges, [&](const Edge* link) { return link->target == chain[i + 1]; });
      if (!linked) return "a chain is broken";
    }
  }
  if (startStateValid && use_runge_kutta) {
    for (const Vertex* vertex : this->vertices) {
      if (vertex->start.position != vertex->position || vertex->start.velocity != vertex->velocity) {
        return "a particle is not where its next step starts";
      }
    }
  }
  return Graph<Schema>::validate();
}

template class GraphLayout<LayoutSchema>;

}  // namespace quorel
