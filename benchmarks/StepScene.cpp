// Each kind of whole step, with as many workers as this machine gives it; a parallel step against the parts that it is
// made of, round by round on one graph; and what workers spend waiting.

#include <benchmark/benchmark.h>
#include <pthread.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <optional>
#include <vector>

#include "LayoutGraph.h"
#include "concurrency/ThreadPool.h"
#include "concurrency/Timer.h"

namespace quorel {
namespace {

// Small, so that the graph stays as it was made.
constexpr float timeStep = 1e-4F;

void step(benchmark::State& state, bool parallel, bool rungeKutta) {
  LayoutGraph graph(static_cast<int>(state.range(0)));
  graph.layout.parallel = parallel;
  graph.layout.use_runge_kutta = rungeKutta;
  for (auto _ : state) graph.layout.step(timeStep);
}

template <class Work>
double secondsOf(const Work& work) {
  Timer timer;
  timer.start();
  work();
  return timer.wallSeconds();
}

double median(std::vector<double> values) {
  std::ranges::nth_element(values, values.begin() + std::ptrdiff_t(values.size() / 2));
  return values[values.size() / 2];
}

/// In each round a tree build right after a step, one force evaluation, in some rounds the plain walk, and a parallel
/// Runge-Kutta step: what else the machine does meanwhile meets all alike. The time is that of the step; the ratios are
/// medians of those of the rounds.
void stepAndItsParts(benchmark::State& state) {
  using Layout = LayoutGraph::Layout;
  LayoutGraph graph(static_cast<int>(state.range(0)));
  Layout& layout = graph.layout;
  layout.parallel = layout.use_runge_kutta = true;
  layout.step(timeStep);  // makes the workers
  const auto roundsAPlainWalk = static_cast<int>(state.range(1));
  int round = 0;
  std::vector<double> builds, evaluations, plains, steps, buildRatios, plainRatios, stepRatios;
  for (auto _ : state) {
    {
      std::optional<Layout::BarnesHutRepulsionCalculator> calculator;
      builds.push_back(secondsOf([&] { calculator.emplace(layout.buildTree()); }));
      const Layout::Range all{0, calculator->memory->field.particleCount()};
      evaluations.push_back(secondsOf([&] {
        Layout::Scratch scratch(calculator->memory->field);
        layout.calculateForces(*calculator, all, scratch);
      }));
      graph.clearForces();
      if (round++ % roundsAPlainWalk == 0) {
        plains.push_back(secondsOf([&] { graph.walkPlainly(*calculator); }));
        graph.clearForces();
        plainRatios.push_back(plains.back() / evaluations.back());
      }
    }
    steps.push_back(secondsOf([&] { layout.step(timeStep); }));
    buildRatios.push_back(builds.back() / evaluations.back());
    stepRatios.push_back(steps.back() / (4 * evaluations.back() + builds.back()));
    state.SetIterationTime(steps.back());
  }
  state.counters["build_ms"] = 1e3 * median(builds);
  state.counters["evaluation_ms"] = 1e3 * median(evaluations);
  state.counters["plain_ms"] = 1e3 * median(plains);
  state.counters["step_ms"] = 1e3 * median(steps);
  state.counters["buildOfEvaluation"] = median(buildRatios);
  state.counters["plainOfEvaluation"] = median(plainRatios);
  state.counters["stepOfParts"] = median(stepRatios);
}

double secondsOn(clockid_t clock) {
  timespec time;
  clock_gettime(clock, &time);
  return double(time.tv_sec) + 1e-9 * double(time.tv_nsec);
}

double processorSeconds(const ThreadPool<Job>& pool) {
  double seconds = 0;
  for (const pthread_t worker : pool.threads) {
    clockid_t clock;
    if (pthread_getcpuclockid(worker, &clock) == 0) seconds += secondsOn(clock);
  }
  return seconds;
}

/// A Runge-Kutta step of two chunks by two workers, in turn with one of a single worker that never waits, whose processor
/// time is the work in it. While they run the main thread sleeps: what the wall clock shows beyond its own processor time
/// is the eight phases, and what two workers have not done in that time they have waited, asleep or awake, or lost to one
/// another. Says too much on a machine that has anything else to do.
void idleOfTwoWorkers(benchmark::State& state) {
  LayoutGraph alone(static_cast<int>(state.range(0)));
  LayoutGraph shared(static_cast<int>(state.range(0)));
  alone.layout.processorCount = 1;
  shared.layout.processorCount = 3;  // one for the main thread
  for (LayoutGraph* graph : {&alone, &shared}) {
    graph->layout.parallel = graph->layout.use_runge_kutta = true;
    graph->layout.step(timeStep);  // makes the workers
  }
  const auto wall = [] {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
  };
  std::vector<double> idle;
  for (auto _ : state) {
    const double workBefore = processorSeconds(*alone.layout.threadPool);
    alone.layout.step(timeStep);
    const double work = processorSeconds(*alone.layout.threadPool) - workBefore;
    const double start = wall();
    const double startOfMain = secondsOn(CLOCK_THREAD_CPUTIME_ID);
    shared.layout.step(timeStep);
    const double time = wall() - start;
    const double phases = time - (secondsOn(CLOCK_THREAD_CPUTIME_ID) - startOfMain);
    idle.push_back(1 - work / (2 * phases));
    state.SetIterationTime(time);
  }
  state.counters["idle"] = median(idle);
}

void sizes(benchmark::internal::Benchmark* scene) {
  scene->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)->UseRealTime();
}

BENCHMARK_CAPTURE(step, serialRungeKutta, false, true)->Apply(sizes);
BENCHMARK_CAPTURE(step, serialEuler, false, false)->Apply(sizes);
BENCHMARK_CAPTURE(step, parallelRungeKutta, true, true)->Apply(sizes);
BENCHMARK_CAPTURE(step, parallelEuler, true, false)->Apply(sizes);
BENCHMARK(stepAndItsParts)->Args({1000, 1})->Iterations(200)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(stepAndItsParts)->Args({10000, 2})->Iterations(60)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(stepAndItsParts)->Args({100000, 5})->Iterations(20)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(idleOfTwoWorkers)->Arg(1000)->Arg(10000)->Arg(100000)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quorel
