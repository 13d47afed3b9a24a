#include <algorithm>
#include <cstdint>
#include <iostream>
#include <vector>

#include "concurrency/Log.h"
#include "layout/GraphLayout.h"
#include "layout/RepulsionLaw.h"

namespace quorel {

namespace {

using Vector = TinyVector<float, 3>;

/// Gain of the push that keeps the source of an oriented edge ahead of its target.
constexpr float orientedGain = 4.0F;

/// The force that an edge exerts on its source; its target feels the opposite.
Vector pullOf(const LayoutEdge& edge, const Vector& source, const Vector& target, float springConstant,
              float pairDistance) {
  const float c = edge.strength * springConstant;
  Vector force = c * (target - source);
  if (edge.oriented) {
    const Vector& o = edge.orientation;
    const float w = -dot(o, target - source) - pairDistance;
    if (w < 0) force += (orientedGain * -w * c) * o;
  }
  return force;
}

}  // namespace

template <class Schema>
void GraphLayout<Schema>::addDrag(Vertex& vertex) const {
  const Vector drag = -friction * vertex.velocity;
  if (isFinite(drag)) {
    vertex.force += drag;
  } else {
    writeLine(std::cerr, "@@ Warning: vertex at ", vertex.position, " has nonfinite velocity ", vertex.velocity);
  }
}

template <class Schema>
void GraphLayout<Schema>::checkForce(Vertex& vertex) {
  if (!isFinite(vertex.force)) {
    writeLines(std::cerr,
               lineOf("@@ Warning: forces on vertex are ", vertex.force) + lineOf("@@ position = ", vertex.position));
    vertex.force = {};
    return;
  }
  const float magnitude = length(vertex.force);
  if (magnitude > maxForce) {
    vertex.force *= static_cast<float>(1.0 / double(magnitude));
    vertex.force *= maxForce;
    overshoot.store(true, std::memory_order_relaxed);
  }
}

template <class Schema>
void GraphLayout<Schema>::calculateForcesOnVertex(Vertex* v, typename Spacetree::Iterator& iterator) {
  const auto spring = [this](const Edge& edge) {
    return pullOf(edge, edge.source->position, edge.target->position, springConstant, pairDistance);
  };
  for (Edge* edge : v->outEdges) {
    if (edge->hasKnots) continue;
    const Vector force = spring(*edge);
    v->force += force;
    if (!parallel) edge->target->force -= force;
  }
  if (parallel) {
    for (Edge* edge : v->inEdges) {
      if (!edge->hasKnots) v->force -= spring(*edge);
    }
  }

  addDrag(*v);

  const Vector x = v->position;
  const float ownCharge = v->charge;
  Vector force = v->force;
  const auto repel = [&](float charge, const Vector& position) {
    const Vector d = position - x;
    const float y = RepulsionLaw::reciprocalRoot(dot(d, d) + repulsionEpsilon);
    force += (ownCharge * (-forceConstant * charge) * (y * y * y)) * d;
  };
  while (!iterator.empty()) {
    const auto position = iterator.pop();
    if (position.isParticle()) {
      const Vertex* other = position.particle();
      if (other != v) repel(other->charge, other->position);
      continue;
    }
    const auto& node = *position.node;
    const Vector e = x - node.centre;
    const float t = node.diagonal * node.diagonal / dot(e, e);
    if (t < RepulsionLaw::openingThreshold) {
      repel(node.charge, node.centre);
    } else {
      Spacetree::expand(position, iterator);
    }
  }
  v->force = force;

  checkForce(*v);
}

template <class Schema>
Vector GraphLayout<Schema>::springForce(const typename Arrays::Spring& spring, const Vector& source,
                                        const Vector& target) const {
  if (spring.pull == Arrays::Pull::plain) return (spring.strength * springConstant) * (target - source);
  return pullOf(*arrays.edges[spring.edge], source, target, springConstant, pairDistance);
}

template <class Schema>
void GraphLayout<Schema>::calculateForces(const BarnesHutRepulsionCalculator& calculator, Range range,
                                          Scratch& scratch) {
  const auto& lent = *calculator.memory;
  // Few enough to stay in the nearest cache between the two loops.
  constexpr std::uint32_t blockSize = 4 * RepulsionField::groupSize;
  Vector repulsion[blockSize];
  for (std::uint32_t begin = range.begin; begin < range.end; begin += blockSize) {
    const std::uint32_t end = std::min(begin + blockSize, range.end);
    for (std::uint32_t place = begin; place < end; ++place) {
      // Leaf order is no order of the graph's memory: what the second loop needs comes in while the first computes.
      __builtin_prefetch(lent.leafOrder[place], 1);
      __builtin_prefetch(arrays.outSprings(lent.leafOrdinal[place]).data());
      __builtin_prefetch(arrays.inSprings(lent.leafOrdinal[place]).data());
    }
    lent.field.repel({begin, end}, scratch, repulsion);
    for (std::uint32_t place = begin; place < end; ++place) {
      Vertex& vertex = *lent.leafOrder[place];
      const std::uint32_t ordinal = lent.leafOrdinal[place];
      const Vector& x = arrays.positions[ordinal];
      if (!isFinite(x)) {
        typename Spacetree::Iterator iterator;
        iterator.push(calculator.tree.rootPosition());
        calculateForcesOnVertex(&vertex, iterator);
        continue;
      }
      for (const auto& spring : arrays.outSprings(ordinal)) {
        if (spring.pull == Arrays::Pull::none) continue;
        vertex.force += springForce(spring, x, arrays.positions[spring.other]);
      }
      for (const auto& spring : arrays.inSprings(ordinal)) {
        if (spring.pull == Arrays::Pull::none) continue;
        vertex.force -= springForce(spring, arrays.positions[spring.other], x);
      }
      addDrag(vertex);
      vertex.force += repulsion[place - begin];
      checkForce(vertex);
    }
  }
}

template <class Schema>
void GraphLayout<Schema>::calculateForcesSerially(const BarnesHutRepulsionCalculator& calculator) {
  const auto& lent = *calculator.memory;
  std::vector<Vector> repulsion(lent.field.particleCount());
  Scratch scratch(lent.field);
  lent.field.repel({0, lent.field.particleCount()}, scratch, repulsion.data());
  typename Spacetree::Iterator iterator;
  for (Vertex* vertex : arrays.vertices) {
    const std::uint32_t place = lent.leafPlace[vertex->ordinal];
    if (place == Memory::noPlace || !isFinite(vertex->position)) {
      iterator.push(calculator.tree.rootPosition());
      calculateForcesOnVertex(vertex, iterator);
      continue;
    }
    for (const auto& spring : arrays.outSprings(vertex->ordinal)) {
      if (spring.pull == Arrays::Pull::none) continue;
      const Vector force = springForce(spring, vertex->position, arrays.positions[spring.other]);
      vertex->force += force;
      arrays.vertices[spring.other]->force -= force;
    }
    addDrag(*vertex);
    vertex->force += repulsion[place];
    checkForce(*vertex);
  }
}

template void GraphLayout<LayoutSchema>::addDrag(Vertex&) const;
template void GraphLayout<LayoutSchema>::checkForce(Vertex&);
template void GraphLayout<LayoutSchema>::calculateForcesOnVertex(Vertex*, Spacetree::Iterator&);
template Vector GraphLayout<LayoutSchema>::springForce(const Arrays::Spring&, const Vector&, const Vector&) const;
template void GraphLayout<LayoutSchema>::calculateForces(const BarnesHutRepulsionCalculator&, Range, Scratch&);
template void GraphLayout<LayoutSchema>::calculateForcesSerially(const BarnesHutRepulsionCalculator&);

}  // namespace quorel
