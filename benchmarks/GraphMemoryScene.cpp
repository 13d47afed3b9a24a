// Memory of a graph: what a vertex with its two edges takes, attributes at their defaults, before and after it has been
// stepped; and how long it takes to make.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <fstream>

#include "LayoutGraph.h"

namespace quorel {
namespace {

/// Pages that the process really has: blocks of the pools count as far as they were used.
double residentBytes() {
  std::ifstream file("/proc/self/statm");
  double total = 0;
  double resident = 0;
  file >> total >> resident;
  return resident * static_cast<double>(sysconf(_SC_PAGESIZE));
}

/// Measured once, in a process that has made no larger graph before.
void memoryOfGraph(benchmark::State& state) {
  const auto vertexCount = static_cast<int>(state.range(0));
  double perVertex = 0;
  double perVertexStepped = 0;
  const LayoutGraph::Plan plan = LayoutGraph::plan(vertexCount);
  for (auto _ : state) {
    const double before = residentBytes();
    LayoutGraph graph(plan);
    perVertex = (residentBytes() - before) / vertexCount;
    graph.layout.step(1e-4F);
    perVertexStepped = (residentBytes() - before) / vertexCount;
  }
  state.counters["B/vertex"] = perVertex;
  state.counters["B/vertex stepped"] = perVertexStepped;
}
BENCHMARK(memoryOfGraph)->Arg(100000)->Iterations(1)->Repetitions(1)->Unit(benchmark::kMillisecond);

void makeGraph(benchmark::State& state) {
  const LayoutGraph::Plan plan = LayoutGraph::plan(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    LayoutGraph graph(plan);
    benchmark::DoNotOptimize(graph.vertices.data());
    state.PauseTiming();
    graph.layout.clear();
    state.ResumeTiming();
  }
}
BENCHMARK(makeGraph)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quorel
