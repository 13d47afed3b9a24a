#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iostream>
#include <random>
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
    joined.push_back(edge);
    source->position = source->start.position = from;
    target->position = target->start.position = to;
    return edge;
  }

  /// By `join`, in that order, which the addresses do not keep.
  std::vector<Edge*> joined;
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

/// Edges of all kinds, those that pull nothing among them.
inline void varyEdges(const std::vector<Layout::Edge*>& edges, std::mt19937& random) {
  for (auto* edge : edges) {
    edge->style.set_strength(static_cast<double>(random() % 5 * (random() % 100)) / 100);
    edge->style.set_oriented(random() % 2 == 0);
    edge->style.set_orientation(randomVector(random, 2));
    edge->style.set_length(17);
    if (random() % 4 == 0) edge->style.set_knots(4);
  }
}

using Exact = TinyVector<double, 3>;

inline Exact exact(const Vector& v) {
  return {double(v[0]), double(v[1]), double(v[2])};
}

/// The forces of the model on one vertex, in double precision, over all pairs; and the sum of the magnitudes of the
/// repulsion, against which the error of a tree code is measured. The numbers and the attributes of edges are its own,
/// not those that the code under test has cached.
struct AllPairs {
  Exact force;
  double repulsion = 0.0;
};

inline AllPairs allPairsForce(const Layout& layout, const Layout::Vertex& v) {
  AllPairs result;
  const auto pull = [&](const Layout::Edge& edge, double sign) {
    if (edge.style.get_knots() > 2) return;
    const double c = sign * edge.style.get_strength() * 0.01 / (0.75 * 0.8 * 0.8);
    const Exact d = exact(edge.target->position) - exact(edge.source->position);
    const Exact o = exact(edge.style.get_orientation());
    const double ahead = -dot(o, d) - 0.75;
    result.force += c * d;
    if (edge.style.get_oriented() && ahead < 0) result.force += 4 * -ahead * c * o;
  };
  for (const auto* edge : v.outEdges) pull(*edge, 1.0);
  for (const auto* edge : v.inEdges) pull(*edge, -1.0);
  result.force += -double(layout.friction) * exact(v.velocity);
  EXPECT_EQ(v.charge, static_cast<float>(v.style.get_charge()));
  for (const auto* other : layout.vertices) {
    const Exact d = exact(other->position) - exact(v.position);
    const double softened = dot(d, d) + 0.05;
    const Exact push = -0.01 * v.charge * other->charge / (softened * std::sqrt(softened)) * d;
    result.force += push;
    result.repulsion += length(push);
  }
  return result;
}

}  // namespace quorel
