#pragma once

#include <cmath>
#include <random>
#include <vector>

#include "layout/Edge.h"
#include "layout/GraphLayout.h"
#include "layout/Vertex.h"

namespace quorel {

/// A graph of a given size in a ball of the density that a graph comes to rest at, with twice as many edges between
/// neighbours in a random order of creation. The same each time.
class LayoutGraph {
public:
  using Layout = GraphLayout<LayoutSchema>;

  explicit LayoutGraph(int vertexCount) {
    std::mt19937 random(1);
    std::normal_distribution<float> direction;
    std::uniform_real_distribution<float> share;
    const float radius = Layout::pairDistance * std::cbrt(static_cast<float>(vertexCount));
    std::vector<TinyVector<float, 3>> places;
    for (int i = 0; i < vertexCount; ++i) {
      vertices.push_back(layout.newVertex());
      TinyVector<float, 3> place(direction(random), direction(random), direction(random));
      place *= radius * std::cbrt(share(random)) / length(place);
      places.push_back(place);
    }
    std::uniform_int_distribution<int> pick(0, vertexCount - 1);
    for (int i = 0; i < 2 * vertexCount; ++i) {
      const int source = pick(random);
      const int target = pick(random);
      if (source != target) layout.newEdge(vertices[source], vertices[target]);
    }
    for (int i = 0; i < vertexCount; ++i) {
      vertices[i]->position = vertices[i]->start.position = places[i];
      vertices[i]->velocity = vertices[i]->start.velocity = {};
    }
    layout.startStateValid = false;
  }

  ~LayoutGraph() { layout.clear(); }

  void clearForces() {
    for (auto* vertex : layout.vertices) vertex->force = {};
  }

  Layout layout;
  std::vector<Layout::Vertex*> vertices;
};

}  // namespace quorel
