#pragma once

#include <algorithm>
#include <cmath>
#include <iostream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "layout/Edge.h"
#include "layout/GraphLayout.h"
#include "layout/LayoutTask.h"
#include "layout/Vertex.h"

namespace quorel {

using Layout = GraphLayout<LayoutSchema>;
using Vector = TinyVector<float, 3>;
using Tree = Layout::Spacetree;
using Calculator = Layout::BarnesHutRepulsionCalculator;

/// A layout that leaves nothing behind.
class TestLayout : public Layout {
public:
  ~TestLayout() override { clear(); }

  Vertex* add(const Vector& position) {
    Vertex* vertex = newVertex();
    vertex->position = vertex->start.position = position;
    return vertex;
  }

  /// An edge that moves neither end.
  Edge* join(Vertex* source, Vertex* target) {
    const Vector from = source->position;
    const Vector to = target->position;
    Edge* edge = newEdge(source, target);
    source->position = source->start.position = from;
    target->position = target->start.position = to;
    return edge;
  }
};

inline std::mt19937 seeded(unsigned seed) {
  std::cout << "seed " << seed << '\n';
  return std::mt19937(seed);
}

inline Vector randomVector(std::mt19937& random, float extent) {
  std::uniform_real_distribution<float> coordinate(-extent / 2, extent / 2);
  return {coordinate(random), coordinate(random), coordinate(random)};
}

/// Vertices at the density of a settled graph, with slow random velocities, and twice as many edges.
inline std::vector<Layout::Vertex*> fillRandomly(TestLayout& layout, int vertexCount, std::mt19937& random) {
  std::vector<Layout::Vertex*> vertices;
  const float extent = 1.2F * Layout::pairDistance * std::cbrt(static_cast<float>(vertexCount));
  for (int i = 0; i < vertexCount; ++i) {
    vertices.push_back(layout.add(randomVector(random, extent)));
    vertices.back()->velocity = vertices.back()->start.velocity = randomVector(random, 0.02F);
  }
  std::uniform_int_distribution<int> pick(0, vertexCount - 1);
  for (int i = 0; i < 2 * vertexCount && vertexCount > 1; ++i) {
    const int source = pick(random);
    const int target = pick(random);
    if (source != target) layout.join(vertices[source], vertices[target]);
  }
  return vertices;
}

/// What a stream receives while this object lives.
class Captured {
public:
  explicit Captured(std::ostream& captured) : stream(captured), before(stream.rdbuf(buffer.rdbuf())) {}
  ~Captured() { stream.rdbuf(before); }
  Captured(const Captured&) = delete;
  Captured& operator=(const Captured&) = delete;

  std::string text() const { return buffer.str(); }

private:
  std::ostream& stream;
  std::ostringstream buffer;
  std::streambuf* before;
};

using Exact = TinyVector<double, 3>;

inline Exact exact(const Vector& v) {
  return {double(v[0]), double(v[1]), double(v[2])};
}

/// The forces of the model on one vertex, in double precision, over all pairs; and the sum of the magnitudes of the
/// repulsion, against which the error of a tree code is measured.
struct AllPairs {
  Exact force;
  double repulsion = 0.0;
};

inline AllPairs allPairsForce(const Layout& layout, const Layout::Vertex& v) {
  AllPairs result;
  const double p = Layout::pairDistance;
  const double epsilon = Layout::repulsionEpsilon;
  const double k = Layout::forceConstant / (p * (p + epsilon) * (p + epsilon));
  const auto spring = [&](const Layout::Edge& edge, double sign) {
    if (edge.hasKnots) return;
    const double c = edge.strength * k;
    const Exact d = exact(edge.target->position) - exact(edge.source->position);
    result.force += sign * c * d;
    if (edge.oriented) {
      const Exact o = exact(edge.orientation);
      const double w = -dot(o, d) - p;
      if (w < 0) result.force += sign * 4 * -w * c * o;
    }
  };
  for (const auto* edge : v.outEdges) spring(*edge, 1.0);
  for (const auto* edge : v.inEdges) spring(*edge, -1.0);
  result.force += -double(layout.friction) * exact(v.velocity);
  for (const auto* other : layout.vertices) {
    if (other == &v) continue;
    const Exact d = exact(other->position) - exact(v.position);
    const double r = dot(d, d) + epsilon;
    const Exact push = (-double(Layout::forceConstant) * v.charge * other->charge / (r * std::sqrt(r))) * d;
    result.force += push;
    result.repulsion += length(push);
  }
  return result;
}

}  // namespace quorel
