#pragma once

#include <cstddef>

namespace quorel {

template <class T, std::size_t N>
class PointParticle_RungeKutta;
template <class Particle>
class Layoutable;
class LayoutEdge;
template <class VertexBase, class EdgeBase>
struct GraphSchema;
template <class Schema>
class Vertex;

/// What a style does when a vertex that has it is double-clicked.
/// Threading:  called by the main thread, with no lock held; must return quickly.
/// Ownership:  shared by the versions that it is set at.
class VertexCallback {
public:
  using Vertex = quorel::Vertex<GraphSchema<Layoutable<PointParticle_RungeKutta<float, 3>>, LayoutEdge>>;

  virtual void operator()(Vertex* vertex) = 0;
  virtual ~VertexCallback() = default;
};

}  // namespace quorel
