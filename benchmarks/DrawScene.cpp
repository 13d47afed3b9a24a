// One draw pass without a step, piece by piece and in batches, with default styles and with a colour and a label of its
// own on every vertex and edge. The counter `ofPlain` is the time in batches over that of the plain pass beside it.

#include <GL/freeglut.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <string>

#include "LayoutGraph.h"
#include "animator/GraphAnimator.h"
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
double draw(Animator& animator, bool inBatches) {
  Timer timer;
  timer.start();
  animator.batching = inBatches;
  animator.Display(false);
  glFinish();
  return timer.wallSeconds();
}

void drawPass(benchmark::State& state, bool inBatches, bool ownLooks) {
  if (std::getenv("DISPLAY") == nullptr) {
    state.SkipWithError("no display to draw on");
    return;
  }
  const auto graph = std::make_unique<LayoutGraph>(static_cast<int>(state.range(0)));
  if (ownLooks) giveLooks(*graph);
  Animator& animator = window(graph->layout);
  animator.ReshapeFunc(800, 600);
  const double radius = LayoutGraph::Layout::pairDistance * std::cbrt(static_cast<double>(state.range(0)));
  animator.autozoom_dist = -2.5 * radius * std::sqrt(0.2);  // where the autozoom comes to rest
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
  if (inBatches) state.counters["ofPlain"] = batched / plain;
}

void sizes(benchmark::internal::Benchmark* scene) {
  scene->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond)->UseManualTime();
}

BENCHMARK_CAPTURE(drawPass, plain, false, false)->Apply(sizes);
BENCHMARK_CAPTURE(drawPass, batched, true, false)->Apply(sizes);
BENCHMARK_CAPTURE(drawPass, plainOwnLooks, false, true)->Apply(sizes);
BENCHMARK_CAPTURE(drawPass, batchedOwnLooks, true, true)->Apply(sizes);

}  // namespace
}  // namespace quorel
