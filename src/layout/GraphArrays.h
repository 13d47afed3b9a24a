#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "TinyVector.h"
#include "versioning/EdgeStyle.h"
#include "versioning/VertexStyle.h"

namespace quorel {

/// The graph in plain arrays, for the loops that go over all of it several times a step and would otherwise follow
/// pointers through the sets.
/// Invariants: after `update` (1) `vertices` are those of the graph in set order, each with its index as `ordinal`;
///             (2) `edges` are the edges by source, in set order, each with its index as `ordinal`;
///             (3) every edge has two springs, one in its source's out-run and one in its target's in-run, which repeat
///                 what the edge caches of its attributes.
/// Threading:  written under the layout's lock, `refresh` under globalStyleLock as well. In a step the workers read, and
///             write `positions` of their own vertices between the phases that read them.
/// Cost:       `update` walks all sets if the structure has changed and does nothing otherwise; `read` looks at one pointer
///             of each vertex, `refresh` at one of each edge if any edge's style has moved, and both at an attribute only
///             if it was set since.
template <class Vertex>
class GraphArrays {
public:
  using Edge = typename Vertex::Edge;

  enum class Pull : std::uint32_t { none, plain, oriented };

  /// An edge as one of its ends sees it.
  struct Spring {
    std::uint32_t other;
    std::uint32_t edge;
    float strength;
    Pull pull;
  };

  /// The sets have changed.
  void invalidate() { valid = false; }

  template <class VertexSet>
  void update(const VertexSet& vertexSet);

  /// Begins a round of `read` for each vertex and `refresh` at its end.
  void beginReading() { newCharges = chargeWatch.changed(vertexAttributes().charge); }

  /// Takes the position and the cached charge of one vertex, and notes whether the charge is out of date.
  void read(std::size_t vertex) {
    const Vertex& v = *vertices[vertex];
    positions[vertex] = v.position;
    charges[vertex] = v.charge;
    if (newCharges || v.refreshedVersion != v.style.version) stale.push_back(static_cast<std::uint32_t>(vertex));
  }

  /// Copies changed attributes into the cached fields of vertices and edges, and into the arrays.
  void refresh();

  std::span<const Spring> outSprings(std::size_t vertex) const { return run(out, outBegin, vertex); }
  std::span<const Spring> inSprings(std::size_t vertex) const { return run(in, inBegin, vertex); }

  std::vector<Vertex*> vertices;
  std::vector<Edge*> edges;
  /// By ordinal, as the force evaluation is to see them.
  std::vector<TinyVector<float, 3>> positions;
  std::vector<float> charges;

private:
  /// Tells whether an attribute was set since the last question.
  template <class Retro>
  class Watch {
  public:
    bool changed(const Retro& attribute) {
      const std::uint64_t now = attribute.changeCount();
      const bool differs = !asked || now != seen;
      asked = true;
      seen = now;
      return differs;
    }

  private:
    bool asked = false;
    std::uint64_t seen = 0;
  };

  static std::span<const Spring> run(const std::vector<Spring>& springs, const std::vector<std::uint32_t>& begin,
                                     std::size_t vertex) {
    return {springs.data() + begin[vertex], springs.data() + begin[vertex + 1]};
  }

  static Pull pullOf(const Edge& edge) {
    if (edge.hasKnots) return Pull::none;
    return edge.oriented ? Pull::oriented : Pull::plain;
  }

  bool valid = false;
  bool newCharges = false;
  std::uint64_t seenMoves = 0;  // `EdgeStyle::moves` when each edge was last looked at
  std::vector<std::uint32_t> stale;
  /// The edges in the order of memory, for the loop that looks at all of them.
  std::vector<Edge*> edgesByAddress;
  std::vector<Spring> out;
  std::vector<Spring> in;
  std::vector<std::uint32_t> outBegin;
  std::vector<std::uint32_t> inBegin;
  /// Where in `in` the spring of an edge stands; in `out` it stands at the edge's own index.
  std::vector<std::uint32_t> inPlace;

  Watch<decltype(VertexAttributes::charge)> chargeWatch;
  Watch<decltype(EdgeAttributes::strength)> strengthWatch;
  Watch<decltype(EdgeAttributes::knots)> knotsWatch;
  Watch<decltype(EdgeAttributes::oriented)> orientedWatch;
  Watch<decltype(EdgeAttributes::orientation)> orientationWatch;
};

template <class Vertex>
template <class VertexSet>
void GraphArrays<Vertex>::update(const VertexSet& vertexSet) {
  if (valid) return;
  vertices.assign(vertexSet.begin(), vertexSet.end());
  positions.resize(vertices.size());
  charges.resize(vertices.size());
  std::size_t edgeCount = 0;
  for (const Vertex* vertex : vertices) edgeCount += vertex->outEdges.size();
  edges.clear();
  edges.reserve(edgeCount);
  outBegin.assign(1, 0);
  outBegin.reserve(vertices.size() + 1);
  for (std::size_t i = 0; i < vertices.size(); ++i) {
    vertices[i]->ordinal = static_cast<std::uint32_t>(i);
    for (Edge* edge : vertices[i]->outEdges) {
      edge->ordinal = static_cast<std::uint32_t>(edges.size());
      edges.push_back(edge);
    }
    outBegin.push_back(static_cast<std::uint32_t>(edges.size()));
  }

  const auto spring = [](const Edge& edge, const Vertex& other) {
    return Spring{other.ordinal, edge.ordinal, edge.strength, pullOf(edge)};
  };
  out.clear();
  out.reserve(edgeCount);
  for (const Edge* edge : edges) out.push_back(spring(*edge, *edge->target));
  in.clear();
  in.reserve(edgeCount);
  inBegin.assign(1, 0);
  inBegin.reserve(vertices.size() + 1);
  inPlace.resize(edgeCount);
  for (const Vertex* vertex : vertices) {
    for (const Edge* edge : vertex->inEdges) {
      inPlace[edge->ordinal] = static_cast<std::uint32_t>(in.size());
      in.push_back(spring(*edge, *edge->source));
    }
    inBegin.push_back(static_cast<std::uint32_t>(in.size()));
  }
  edgesByAddress = edges;
  std::ranges::sort(edgesByAddress);
  valid = true;
}

template <class Vertex>
void GraphArrays<Vertex>::refresh() {
  for (const std::uint32_t i : stale) {
    Vertex& vertex = *vertices[i];
    vertex.charge = charges[i] = static_cast<float>(vertex.style.get_charge());
    vertex.refreshedVersion = vertex.style.version;
  }
  stale.clear();

  EdgeAttributes& attributes = edgeAttributes();
  const bool newStrengths = strengthWatch.changed(attributes.strength);
  const bool newKnots = knotsWatch.changed(attributes.knots);
  const bool newOriented = orientedWatch.changed(attributes.oriented);
  const bool newOrientations = orientationWatch.changed(attributes.orientation);
  const bool anyNew = newStrengths || newKnots || newOriented || newOrientations;
  const std::uint64_t moves = EdgeStyle::moves.load(std::memory_order_relaxed);
  if (!anyNew && moves == seenMoves) return;
  seenMoves = moves;
  for (Edge* edge : edgesByAddress) {
    const bool moved = edge->refreshedVersion != edge->style.version;
    if (!moved && !anyNew) continue;
    if (moved || newKnots) edge->hasKnots = edge->style.get_knots() > 2;
    if (moved || newStrengths) edge->strength = static_cast<float>(edge->style.get_strength());
    if (moved || newOriented) edge->oriented = edge->style.get_oriented();
    if (moved || newOrientations) edge->orientation = edge->style.get_orientation();
    edge->refreshedVersion = edge->style.version;
    for (Spring* spring : {&out[edge->ordinal], &in[inPlace[edge->ordinal]]}) {
      spring->strength = edge->strength;
      spring->pull = pullOf(*edge);
    }
  }
}

}  // namespace quorel
