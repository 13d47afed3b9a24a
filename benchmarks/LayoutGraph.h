#pragma once

#include <cmath>
#include <cstddef>
#include <numeric>
#include <random>
#include <utility>
#include <vector>

#include "layout/Edge.h"
#include "layout/GraphLayout.h"
#include "layout/Vertex.h"

namespace quorel {

/// A graph of a given size in a ball of the density that a graph comes to rest at, with twice as many edges, each
/// between neighbours, in a random order of creation. The same each time.
/// Cost: O(n).
class LayoutGraph {
public:
  using Layout = GraphLayout<LayoutSchema>;
  using Vector = TinyVector<float, 3>;

  /// Where the vertices lie and which of them each edge joins.
  struct Plan {
    std::vector<Vector> places;
    std::vector<std::pair<int, int>> edges;
  };

  static Plan plan(int vertexCount) {
    Plan made;
    std::mt19937 random(1);
    std::normal_distribution<float> direction;
    std::uniform_real_distribution<float> share;
    const float radius = Layout::pairDistance * std::cbrt(static_cast<float>(vertexCount));
    for (int i = 0; i < vertexCount; ++i) {
      Vector place(direction(random), direction(random), direction(random));
      place *= radius * std::cbrt(share(random)) / length(place);
      made.places.push_back(place);
    }
    const Cells cells(made.places, radius);
    std::vector<int> near;
    std::uniform_int_distribution<int> pick(0, vertexCount - 1);
    for (int i = 0; i < 2 * vertexCount; ++i) {
      const int source = pick(random);
      cells.near(made.places[source], near);
      std::erase(near, source);
      if (!near.empty()) made.edges.emplace_back(source, near[random() % near.size()]);
    }
    return made;
  }

  explicit LayoutGraph(const Plan& plan) {
    for (std::size_t i = 0; i < plan.places.size(); ++i) vertices.push_back(layout.newVertex());
    for (const auto& [source, target] : plan.edges) layout.newEdge(vertices[source], vertices[target]);
    for (std::size_t i = 0; i < vertices.size(); ++i) {
      vertices[i]->position = vertices[i]->start.position = plan.places[i];
      vertices[i]->velocity = vertices[i]->start.velocity = {};
    }
    layout.startStateValid = false;
  }

  explicit LayoutGraph(int vertexCount) : LayoutGraph(plan(vertexCount)) {}

  ~LayoutGraph() { layout.clear(); }

  void clearForces() {
    for (auto* vertex : layout.vertices) vertex->force = {};
  }

  /// The reference that the fast evaluation is measured against: a vertex at a time, in the order in which they were
  /// made.
  void walkPlainly(const Layout::BarnesHutRepulsionCalculator& calculator) {
    Layout::Spacetree::Iterator iterator;
    for (auto* vertex : layout.vertices) {
      iterator.push(calculator.tree.rootPosition());
      layout.calculateForcesOnVertex(vertex, iterator);
    }
  }

  Layout layout;
  std::vector<Layout::Vertex*> vertices;

private:
  /// The places of a ball by cells a little wider than an edge is long.
  class Cells {
  public:
    Cells(const std::vector<Vector>& places, float radius)
        : half(static_cast<std::size_t>(radius / width) + 2), ends(8 * half * half * half + 1), order(places.size()) {
      for (const Vector& place : places) ++ends[cellOf(place) + 1];
      std::partial_sum(ends.begin(), ends.end(), ends.begin());
      for (std::size_t i = 0; i < places.size(); ++i) order[ends[cellOf(places[i])]++] = static_cast<int>(i);
    }

    /// What is in the cell of a place and in the 26 around it.
    void near(const Vector& place, std::vector<int>& found) const {
      found.clear();
      for (int around = 0; around < 27; ++around) {
        const Vector offset(float(around % 3 - 1), float(around / 3 % 3 - 1), float(around / 9 - 1));
        const std::size_t cell = cellOf(place + width * offset);
        found.insert(found.end(), order.begin() + ends[cell - 1], order.begin() + ends[cell]);
      }
    }

  private:
    static constexpr float width = 1.0F;

    std::size_t cellOf(const Vector& place) const {
      std::size_t cell = 0;
      for (std::size_t axis = 0; axis < 3; ++axis) {
        cell = 2 * half * cell + static_cast<std::size_t>(std::floor(place[axis] / width) + static_cast<float>(half));
      }
      return cell;
    }

    std::size_t half;
    /// Where in `order` each cell ends, which is where the next one begins.
    std::vector<int> ends;
    std::vector<int> order;
  };
};

}  // namespace quorel
