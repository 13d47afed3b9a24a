#include <bit>
#include <cmath>
#include <cstdint>
#include <iostream>
#include <syncstream>

#include "layout/GraphLayout.h"

namespace quorel {

namespace {

using Vector = TinyVector<float, 3>;

/// A node whose squared diagonal is below this part of its squared distance acts as one particle: 0.95 squared.
constexpr float openingThreshold = 0.9025F;

/// Gain of the push that keeps the source of an oriented edge ahead of its target.
constexpr float orientedGain = 4.0F;

/// 1/sqrt(r) to about one part in 600: a seed from the bits of the float, and one Newton step.
float reciprocalRoot(float r) {
  const float y = std::bit_cast<float>(0x5f3759dfU - (std::bit_cast<std::uint32_t>(r) >> 1));
  return y * (1.5F - 0.5F * r * y * y);
}

/// The force that an edge exerts on its source; its target feels the opposite.
Vector springForce(const LayoutEdge& edge, const Vector& source, const Vector& target, float springConstant,
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
void GraphLayout<Schema>::calculateForcesOnVertex(Vertex* v, typename Spacetree::Iterator& iterator) {
  const auto spring = [this](const Edge& edge) {
    return springForce(edge, edge.source->position, edge.target->position, springConstant, pairDistance);
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

  const Vector drag = -friction * v->velocity;
  if (isFinite(drag)) {
    v->force += drag;
  } else {
    std::osyncstream(std::cerr) << "@@ Warning: vertex at " << v->position << " has nonfinite velocity " << v->velocity
                                << '\n';
  }

  const Vector x = v->position;
  const float ownCharge = v->charge;
  Vector force = v->force;
  const auto repel = [&](float charge, const Vector& position) {
    const Vector d = position - x;
    const float y = reciprocalRoot(dot(d, d) + repulsionEpsilon);
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
    if (t < openingThreshold) {
      repel(node.charge, node.centre);
    } else {
      Spacetree::expand(position, iterator);
    }
  }
  v->force = force;

  if (!isFinite(v->force)) {
    std::osyncstream(std::cerr) << "@@ Warning: forces on vertex are " << v->force << '\n'
                                << "@@ position = " << v->position << '\n';
    v->force = {};
    return;
  }

  const float magnitude = length(v->force);
  if (magnitude > maxForce) {
    v->force *= static_cast<float>(1.0 / double(magnitude));
    v->force *= maxForce;
    overshoot.store(true, std::memory_order_relaxed);
  }
}

template void GraphLayout<LayoutSchema>::calculateForcesOnVertex(Vertex*, Spacetree::Iterator&);

}  // namespace quorel
