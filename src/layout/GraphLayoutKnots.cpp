#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <mutex>
#include <numbers>
#include <set>

#include "layout/GraphLayout.h"
#include "layout/randomUnit.h"
#include "versioning/GlobalStyleLock.h"

namespace quorel {

namespace {

/// Elements of a chain, its two ends included; a greater knot count gets no more.
constexpr int longestChain = 10;

/// A knot count up to this one is a plain edge.
constexpr int plainKnotCount = 2;

}  // namespace

template <class Schema>
void GraphLayout<Schema>::updateSplines() {
  const std::lock_guard<MultiLockable> hold(*this);
  const std::lock_guard<MultiLockable> holdStyles(globalStyleLock);

  const auto chainSize = [this](Edge* edge) {
    const auto found = knots.find(edge);
    return found == knots.end() ? 0 : static_cast<int>(found->second->size());
  };
  const auto disagrees = [&](Edge* edge) {
    const int wanted = edge->style.get_knots();
    return chainSize(edge) != (wanted > plainKnotCount ? wanted : 0);
  };

  // First look, then change: a chain adds to the very sets that this loop walks.
  std::set<Edge*> stale;
  for (Vertex* vertex : this->vertices) {
    for (Edge* edge : vertex->outEdges) {
      if (disagrees(edge)) stale.insert(edge);
    }
  }
  for (Edge* edge : stale) {
    if (!disagrees(edge)) continue;
    if (chainSize(edge) > 0) clearKnots(edge);
    if (edge->style.get_knots() > plainKnotCount) makeKnots(edge);
  }
}

template <class Schema>
void GraphLayout<Schema>::makeKnots(Edge* edge) {
  const int size = std::min(edge->style.get_knots(), longestChain);
  auto* chain = new std::vector<Vertex*>(size);
  chain->front() = edge->source;
  chain->back() = edge->target;
  for (int i = 1; i < size; ++i) {
    if (i != size - 1) {
      const float t = static_cast<float>(i) / static_cast<float>(size - 1);
      const auto place = t * edge->target->position + (1.0F - t) * edge->source->position;
      Vertex* knot = newVertex(place[0], place[1], place[2]);
      knot->style = VertexStyle::following(knotVertexStyle);
      (*chain)[i] = knot;
    }
    // A knot without edges moves next to the one before it: the chain starts as a clump, and the simulation pulls it
    // out.
    Edge* link = newEdge((*chain)[i - 1], (*chain)[i]);
    link->style = EdgeStyle::following(knotEdgeStyle);
  }
  knots[edge] = chain;
}

template <class Schema>
void GraphLayout<Schema>::clearKnots(Edge* edge) {
  const auto entry = knots.find(edge);
  assert(entry != knots.end() && "the edge has no chain");
  std::vector<Vertex*>* chain = entry->second;
  for (std::size_t i = 1; i + 1 < chain->size(); ++i) {
    delete (*chain)[i];
    (*chain)[i] = nullptr;
  }
  knots.erase(entry);
  delete chain;
}

template <class Schema>
void GraphLayout<Schema>::jostle(float frequency) {
  startStateValid = false;
  const auto randomAngle = [] { return static_cast<float>(2.0 * std::numbers::pi * randomUnit()); };
  const float a = randomAngle();
  const float b = randomAngle();
  const float c = randomAngle();
  const TinyVector<float, 3> n(std::cos(a), std::sin(a) * std::cos(b), -std::sin(a) * std::sin(b));

  const std::lock_guard<MultiLockable> hold(*this);
  TinyVector<float, 3> drift;
  for (Vertex* vertex : this->vertices) {
    const TinyVector<float, 3> kick = (std::cos(frequency * dot(n, vertex->position) + c) / 3.0F) * n;
    // A vertex without a place has no kick, and must not take the others along.
    if (!isFinite(kick)) continue;
    vertex->velocity += kick;
    drift += kick;
  }
  for (std::size_t axis = 0; axis < 3; ++axis) drift[axis] /= static_cast<float>(this->numVertices());
  for (Vertex* vertex : this->vertices) vertex->velocity -= drift;
}

template void GraphLayout<LayoutSchema>::updateSplines();
template void GraphLayout<LayoutSchema>::makeKnots(Edge*);
template void GraphLayout<LayoutSchema>::clearKnots(Edge*);
template void GraphLayout<LayoutSchema>::jostle(float);

}  // namespace quorel
