// Each kind of whole step, with as many workers as this machine gives it, and what its workers spend waiting.

#include <benchmark/benchmark.h>
#include <pthread.h>

#include <chrono>
#include <ctime>

#include "LayoutGraph.h"
#include "concurrency/ThreadPool.h"

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

/// A Runge-Kutta step of two chunks. While they run the main thread sleeps: what the wall clock shows beyond its own
/// processor time is the eight phases, and what two workers have not used of that they have waited. Says too much on a
/// machine that has anything else to do.
void idleOfTwoWorkers(benchmark::State& state) {
  LayoutGraph graph(static_cast<int>(state.range(0)));
  graph.layout.parallel = graph.layout.use_runge_kutta = true;
  graph.layout.processorCount = 3;  // one for the main thread
  graph.layout.step(timeStep);      // makes the workers
  const auto wall = [] {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
  };
  const ThreadPool<Job>& pool = *graph.layout.threadPool;
  const double start = wall();
  const double startOfMain = secondsOn(CLOCK_THREAD_CPUTIME_ID);
  const double startOfWorkers = processorSeconds(pool);
  for (auto _ : state) graph.layout.step(timeStep);
  const double phases = wall() - start - (secondsOn(CLOCK_THREAD_CPUTIME_ID) - startOfMain);
  state.counters["idle"] = 1 - (processorSeconds(pool) - startOfWorkers) / (2 * phases);
}

void sizes(benchmark::internal::Benchmark* scene) {
  scene->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)->UseRealTime();
}

BENCHMARK_CAPTURE(step, serialRungeKutta, false, true)->Apply(sizes);
BENCHMARK_CAPTURE(step, serialEuler, false, false)->Apply(sizes);
BENCHMARK_CAPTURE(step, parallelRungeKutta, true, true)->Apply(sizes);
BENCHMARK_CAPTURE(step, parallelEuler, true, false)->Apply(sizes);
BENCHMARK(idleOfTwoWorkers)->Apply(sizes);

}  // namespace
}  // namespace quorel
