// Drawing with default styles and with a colour and a label of its own on every vertex and edge.
// `drawPass`: without a step, piece by piece and in batches. The counter `ofPlain` is the time in batches over that of
// the plain pass beside it, `plain_ms`.
// `frame`: a picture in batches beside a step. The counter `ofLarger` is its time over the larger of a step and a pass
// alone, taken in turn with it; `ofWork` over the processor time of both, shared out to all processors.

#include <GL/freeglut.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <string>

#include "LayoutGraph.h"
#include "animator/GraphAnimator.h"
#include "concurrency/Platform.h"
#include "concurrency/Timer.h"

namespace quorel {
namespace {

using Animator = GraphAnimator<LayoutGraph::Layout>;

/// GLUT makes one window a process; each scene puts its own graph into it.
Animator& window(LayoutGraph::Layout& layout) {
  static char name[] = "DrawScene";
  static char* arguments[] = {name, nullptr};
  static Animator* const animator = new Animator(1, arguments, layout);
  animator->layouts.front().layout = &layout;
  return *animator;
}

void giveLooks(LayoutGraph& graph) {
  int number = 0;
  const auto look = [&number](auto& style) {
    const auto share = [&number](int prime) { return static_cast<float>(number * prime % 256) / 255.0F; };
    style.set_color({share(7), share(11), share(13)});
    style.set_label("number " + std::to_string(number));
    ++number;
  };
  for (auto* vertex : graph.vertices) {
    look(vertex->style);
    for (auto* edge : vertex->outEdges) look(edge->style);
  }
}

/// Seconds of one pass, the driver's threads included.
double draw(Animator& animator, bool inBatches, bool step = false) {
  Timer timer;
  timer.start();
  animator.batching = inBatches;
  animator.Display(step);
  glFinish();
  return timer.wallSeconds();
}

/// The window with the graph in it; null where there is no display.
Animator* show(benchmark::State& state, LayoutGraph& graph, bool ownLooks) {
  if (std::getenv("DISPLAY") == nullptr) {
    state.SkipWithError("no display to draw on");
    return nullptr;
  }
  if (ownLooks) giveLooks(graph);
  Animator& animator = window(graph.layout);
  animator.ReshapeFunc(800, 600);
  const double radius = LayoutGraph::Layout::pairDistance * std::cbrt(static_cast<double>(state.range(0)));
  animator.autozoom_dist = -2.5 * radius * std::sqrt(0.2);  // where the autozoom comes to rest
  return &animator;
}

void drawPass(benchmark::State& state, bool inBatches, bool ownLooks) {
  LayoutGraph graph(static_cast<int>(state.range(0)));
  Animator* const shown = show(state, graph, ownLooks);
  if (shown == nullptr) return;
  Animator& animator = *shown;
  draw(animator, inBatches);

  double plain = 0.0;
  double batched = 0.0;
  for (auto _ : state) {
    double seconds = 0.0;
    if (inBatches) {
      plain += draw(animator, false);
      seconds = draw(animator, true);
      batched += seconds;
    } else {
      seconds = draw(animator, false);
    }
    state.SetIterationTime(seconds);
  }
  if (!inBatches) return;
  state.counters["plain_ms"] = 1e3 * plain / static_cast<double>(state.iterations());
  state.counters["ofPlain"] = batched / plain;
}

void frame(benchmark::State& state, bool ownLooks) {
  LayoutGraph graph(static_cast<int>(state.range(0)));
  graph.layout.parallel = true;
  graph.layout.time_step = 1e-4F;  // so that the graph stays as it was made
  Animator* const animator = show(state, graph, ownLooks);
  if (animator == nullptr) return;
  draw(*animator, true, true);

  double frames = 0.0;
  double steps = 0.0;
  double passes = 0.0;
  std::clock_t work = 0;
  for (auto _ : state) {
    const std::clock_t begin = std::clock();
    Timer timer;
    timer.start();
    graph.layout.step();
    steps += timer.wallSeconds();
    passes += draw(*animator, true);
    work += std::clock() - begin;
    const double seconds = draw(*animator, true, true);
    frames += seconds;
    state.SetIterationTime(seconds);
  }
  state.counters["step_ms"] = 1e3 * steps / static_cast<double>(state.iterations());
  state.counters["pass_ms"] = 1e3 * passes / static_cast<double>(state.iterations());
  state.counters["ofLarger"] = frames / std::max(steps, passes);
  state.counters["ofWork"] = frames * numProcessors() * CLOCKS_PER_SEC / static_cast<double>(work);
}

void plainSizes(benchmark::internal::Benchmark* scene) {
  scene->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->UseManualTime();
}

void sizes(benchmark::internal::Benchmark* scene) {
  plainSizes(scene);
  scene->Arg(100000);
}

void frameSizes(benchmark::internal::Benchmark* scene) {
  scene->Arg(1000)->Arg(5000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond)->UseManualTime();
}

BENCHMARK_CAPTURE(drawPass, plain, false, false)->Apply(plainSizes);
BENCHMARK_CAPTURE(drawPass, batched, true, false)->Apply(sizes);
BENCHMARK_CAPTURE(drawPass, plainOwnLooks, false, true)->Apply(plainSizes);
BENCHMARK_CAPTURE(drawPass, batchedOwnLooks, true, true)->Apply(sizes);
BENCHMARK_CAPTURE(frame, default, false)->Apply(frameSizes);
BENCHMARK_CAPTURE(frame, ownLooks, true)->Apply(frameSizes);

}  // namespace
}  // namespace quorel
