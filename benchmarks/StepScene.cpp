// Each kind of whole step, with as many workers as this machine gives it.

#include <benchmark/benchmark.h>

#include "LayoutGraph.h"

namespace quorel {
namespace {

void step(benchmark::State& state, bool parallel, bool rungeKutta) {
  LayoutGraph graph(static_cast<int>(state.range(0)));
  graph.layout.parallel = parallel;
  graph.layout.use_runge_kutta = rungeKutta;
  // Small, so that the graph stays as it was made.
  for (auto _ : state) graph.layout.step(1e-4F);
}

void sizes(benchmark::internal::Benchmark* scene) {
  scene->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)->UseRealTime();
}

BENCHMARK_CAPTURE(step, serialRungeKutta, false, true)->Apply(sizes);
BENCHMARK_CAPTURE(step, serialEuler, false, false)->Apply(sizes);
BENCHMARK_CAPTURE(step, parallelRungeKutta, true, true)->Apply(sizes);
BENCHMARK_CAPTURE(step, parallelEuler, true, false)->Apply(sizes);

}  // namespace
}  // namespace quorel
