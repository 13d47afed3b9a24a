// Tree build and force evaluation, single-threaded. The plain walk is the reference that the fast evaluation is
// measured against; both interact with the same nodes and particles.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "LayoutGraph.h"

namespace quorel {
namespace {

using Layout = LayoutGraph::Layout;
using Calculator = Layout::BarnesHutRepulsionCalculator;

/// A graph that has stepped before, so that its edges pull.
struct SteppedGraph : LayoutGraph {
  explicit SteppedGraph(int vertexCount) : LayoutGraph(vertexCount) {
    layout.step(0);
    clearForces();
  }
};

void sizes(benchmark::internal::Benchmark* scene) {
  scene->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
}

/// One vertex after the other, every attribute read.
void treeBuildPlain(benchmark::State& state) {
  SteppedGraph graph(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    const Calculator calculator(graph.layout.vertices.begin(), graph.layout.vertices.end());
    benchmark::DoNotOptimize(calculator.tree.root->charge);
  }
}
BENCHMARK(treeBuildPlain)->Apply(sizes);

/// As the steps do it: tree, refresh and layout for the vector units.
void treeBuild(benchmark::State& state) {
  SteppedGraph graph(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    const Calculator calculator = graph.layout.buildTree();
    benchmark::DoNotOptimize(calculator.tree.root->charge);
  }
}
BENCHMARK(treeBuild)->Apply(sizes);

/// The same after a change of the graph, when the arrays have to be filled from the sets.
void treeBuildAfterChange(benchmark::State& state) {
  SteppedGraph graph(static_cast<int>(state.range(0)));
  auto* a = graph.vertices[0];
  auto* b = graph.vertices[1];
  for (auto _ : state) {
    delete graph.layout.newEdge(a, b);
    const Calculator calculator = graph.layout.buildTree();
    benchmark::DoNotOptimize(calculator.tree.root->charge);
  }
}
BENCHMARK(treeBuildAfterChange)->Apply(sizes);

double pairCount(const Calculator& calculator) {
  const RepulsionField& field = calculator.memory->field;
  RepulsionField::Scratch scratch(field);
  double pairs = 0;
  for (std::uint32_t begin = 0; begin < field.particleCount(); begin += RepulsionField::groupSize) {
    const std::uint32_t end = std::min(begin + RepulsionField::groupSize, field.particleCount());
    for (const auto& interaction : field.interactions({begin, end}, scratch))
      pairs += std::popcount(interaction.members);
  }
  return pairs;
}

void report(benchmark::State& state, double pairs) {
  state.counters["pairs/s"] = benchmark::Counter(pairs, benchmark::Counter::kIsIterationInvariantRate);
  state.counters["pairs/vertex"] = pairs / static_cast<double>(state.range(0));
}

void forcesPlain(benchmark::State& state) {
  SteppedGraph graph(static_cast<int>(state.range(0)));
  const Calculator calculator = graph.layout.buildTree();
  for (auto _ : state) {
    graph.walkPlainly(calculator);
    state.PauseTiming();
    graph.clearForces();
    state.ResumeTiming();
  }
  report(state, pairCount(calculator));
}
BENCHMARK(forcesPlain)->Apply(sizes);

/// As the steps do it.
void forces(benchmark::State& state) {
  SteppedGraph graph(static_cast<int>(state.range(0)));
  const Calculator calculator = graph.layout.buildTree();
  const RepulsionField& field = calculator.memory->field;
  RepulsionField::Scratch scratch(field);
  for (auto _ : state) {
    graph.layout.calculateForces(calculator, {0, field.particleCount()}, scratch);
    state.PauseTiming();
    graph.clearForces();
    state.ResumeTiming();
  }
  report(state, pairCount(calculator));
}
BENCHMARK(forces)->Apply(sizes);

/// The share of `forces` that is repulsion.
void repulsion(benchmark::State& state) {
  SteppedGraph graph(static_cast<int>(state.range(0)));
  const Calculator calculator = graph.layout.buildTree();
  const RepulsionField& field = calculator.memory->field;
  RepulsionField::Scratch scratch(field);
  std::vector<TinyVector<float, 3>> result(field.particleCount());
  for (auto _ : state) {
    field.repel({0, field.particleCount()}, scratch, result.data());
    benchmark::DoNotOptimize(result.data());
  }
  report(state, pairCount(calculator));
}
BENCHMARK(repulsion)->Apply(sizes);

/// How far the two evaluations are apart, in units of the last place of a force's magnitude: the largest distance, and
/// that of half of the vertices.
void difference(benchmark::State& state) {
  SteppedGraph graph(static_cast<int>(state.range(0)));
  const Calculator calculator = graph.layout.buildTree();
  RepulsionField::Scratch scratch(calculator.memory->field);
  std::vector<TinyVector<float, 3>> plain;
  for (auto _ : state) {
    graph.walkPlainly(calculator);
    for (const auto* vertex : graph.vertices) plain.push_back(vertex->force);
    graph.clearForces();
    graph.layout.calculateForces(calculator, {0, calculator.memory->field.particleCount()}, scratch);
  }
  std::vector<float> apart;
  for (std::size_t i = 0; i < plain.size(); ++i) {
    const float magnitude = length(plain[i]);
    const float lastPlace = std::nextafter(magnitude, std::numeric_limits<float>::infinity()) - magnitude;
    apart.push_back(length(graph.vertices[i]->force - plain[i]) / lastPlace);
  }
  std::ranges::sort(apart);
  state.counters["largest"] = apart.back();
  state.counters["median"] = apart[apart.size() / 2];
}
BENCHMARK(difference)->Apply(sizes)->Iterations(1);

}  // namespace
}  // namespace quorel
