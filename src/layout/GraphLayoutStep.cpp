#include <pthread.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "concurrency/Log.h"
#include "concurrency/Platform.h"
#include "concurrency/ThreadPool.h"
#include "concurrency/heapnew.h"
#include "layout/GraphLayout.h"
#include "layout/LayoutTask.h"
#include "layout/RKVisitors.h"

namespace quorel {

namespace {

/// Priority of the threads that a picture waits for; the system may decline it.
constexpr int workerPriority = 15;

/// Chunks smaller than this are not worth a job of their own.
constexpr int smallestChunk = 40;

}  // namespace

template <class Schema>
void GraphLayout<Schema>::step() {
  step(time_step * step_scale);
}

template <class Schema>
void GraphLayout<Schema>::stepOnce() {
  step(time_step * step_scale);
}

template <class Schema>
void GraphLayout<Schema>::step(float dt) {
  overshoot.store(false, std::memory_order_relaxed);
  if (parallel && use_runge_kutta) {
    parallelStep2<LayoutTask_RungeKutta>(dt, nullptr);
  } else if (parallel) {
    parallelStep2<LayoutTask_Euler>(dt, nullptr);
  } else if (use_runge_kutta) {
    stepRungeKutta(dt);
  } else {
    stepEuler(dt);
  }
  adaptStepScale();
}

template <class Schema>
void GraphLayout<Schema>::adaptStepScale() {
  if (overshoot.load(std::memory_order_relaxed)) {
    step_scale = static_cast<float>(step_scale * 0.8);
  } else {
    step_scale = 0.9999F * step_scale + 0.0001F;
  }
}

template <class Schema>
void GraphLayout<Schema>::refreshSpringConstant() {
  const float reach = pairDistance + repulsionEpsilon;
  springConstant = forceConstant / (pairDistance * (reach * reach));
}

template <class Schema>
void GraphLayout<Schema>::copyStartState() {
  if (startStateValid) return;
  for (Vertex* vertex : this->vertices) vertex->start = *vertex;
  startStateValid = true;
}

template <class Schema>
void GraphLayout<Schema>::evaluateForcesSerially() {
  refreshSpringConstant();
  calculateForcesSerially(buildTree());
}

template <class Schema>
auto GraphLayout<Schema>::buildTree() -> BarnesHutRepulsionCalculator {
  arrays.update(this->vertices);
  return BarnesHutRepulsionCalculator(arrays, memory);
}

template <class Schema>
void GraphLayout<Schema>::stepEuler(float dt) {
  const std::lock_guard<MultiLockable> hold(*this);
  evaluateForcesSerially();
  const EulerVisitor visitor(dt);
  for (Vertex* vertex : this->vertices) visitor(*vertex);
}

template <class Schema>
void GraphLayout<Schema>::stepRungeKutta(float dt) {
  const std::lock_guard<MultiLockable> hold(*this);
  copyStartState();
  const auto stage = [this](const auto& visitor) {
    evaluateForcesSerially();
    for (Vertex* vertex : this->vertices) visitor(*vertex);
  };
  stage(RKVisitor1(dt));
  stage(RKVisitor2(dt));
  stage(RKVisitor3(dt));
  stage(RKVisitor4(dt));
}

template <class Schema>
void GraphLayout<Schema>::makeThreadPool() {
  if (threadPool != nullptr) return;
  threadPool = heapnew<ThreadPool<Job>, int>(processorCount);
  const std::lock_guard<Lockable> hold(*threadPool);
  for (const pthread_t thread : threadPool->threads) setThreadPriority(thread, workerPriority);
}

template <class Schema>
template <class Task>
void GraphLayout<Schema>::parallelStep2(float dt, GraphLayoutTask* renderJob) {
  const int chunkCount = std::max(processorCount - 1, 1);
  const std::lock_guard<MultiLockable> hold(*this);
  copyStartState();
  makeThreadPool();
  refreshSpringConstant();
  // One tree for all phases: the summaries stay those of the step's start.
  BarnesHutRepulsionCalculator calculator = buildTree();
  std::vector<typename Spacetree::Iterator> chunks(chunkCount);
  splitSpacetree(calculator, chunks.data(), chunkCount);

  std::vector<std::vector<Range>> runs;
  for (const auto& chunk : chunks) runs.push_back(LayoutTaskBase::runsOf(calculator, chunk));

  std::vector<std::unique_ptr<BlockShare>> shares;
  std::vector<std::vector<std::unique_ptr<LayoutTaskBase>>> phases(Task::phaseCount);
  for (int phase = 0; phase < Task::phaseCount; ++phase) {
    // Even phases evaluate forces, odd ones move.
    shares.push_back(phase % 2 == 0 ? std::make_unique<BlockShare>(runs) : nullptr);
    for (std::size_t i = 0; i < chunks.size(); ++i) {
      auto job = std::make_unique<Task>(threadPool, &calculator, this, dt, phase, chunks[i],
                                        typename LayoutTaskBase::Share{i, &runs[i], shares.back().get()});
      if (phase > 0) {
        for (const auto& earlier : phases[phase - 1]) earlier->precede(*job);
      }
      if (renderJob != nullptr && phase == Task::phaseCount - 1) renderJob->precede(*job);
      phases[phase].push_back(std::move(job));
    }
  }

  std::vector<Job*> firstJobs;
  for (const auto& job : phases.front()) firstJobs.push_back(job.get());
  threadPool->submitAll(firstJobs);
  if (renderJob != nullptr) (*renderJob)();
  threadPool->waitUntilDone();

  int totalVertices = 0;
  for (const auto& job : phases.back()) totalVertices += job->verticesDone;
  if (totalVertices != this->numVertices()) {
    writeLine(std::cerr, "**** WARNING: totalVertices != numVertices");
    writeLine(std::cout, "totalVertices=", totalVertices, ", numVertices()=", this->numVertices());
  }
}

template <class Schema>
void GraphLayout<Schema>::splitSpacetree(BarnesHutRepulsionCalculator& calculator, typename Spacetree::Iterator* chunks,
                                         int chunkCount) {
  const int total = this->numVertices();
  const int low = static_cast<int>(0.95 * total / chunkCount);
  const int high = std::max(static_cast<int>(1.05 * total / chunkCount), smallestChunk);

  typename Spacetree::Iterator work;
  work.push(calculator.tree.rootPosition());
  int current = 0;
  int chunk = 0;
  int assigned = 0;
  while (!work.empty()) {
    const bool isParticle = work.top().isParticle();
    const int n = isParticle ? 1 : work.top().node->count;
    // An empty chunk is never full: with more chunks than particles `low` is 0, and an entry that does not fit has to
    // be expanded even so.
    const bool full = current > 0 && current >= low;
    if (current + n < high || (isParticle && !full)) {
      chunks[chunk].push(work.pop());
      current += n;
    } else if (full) {
      chunk = std::min(chunk + 1, chunkCount - 1);
      assigned += current;
      current = 0;
    } else {
      Spacetree::expand(work.pop(), work);
    }
  }
  if (assigned + current != total) {
    writeLine(std::cerr, "@@ totalVertices=", assigned + current, ", numVertices()=", total);
  }
}

template <class Schema>
auto GraphLayout<Schema>::LayoutTaskBase::runsOf(const BarnesHutRepulsionCalculator& calculator,
                                                 const typename Spacetree::Iterator& chunk) -> std::vector<Range> {
  const auto& lent = *calculator.memory;
  std::vector<Range> found;
  for (const auto& position : chunk.stack) {
    if (position.isParticle()) {
      const std::uint32_t place = lent.leafPlace[position.particle()->ordinal];
      found.push_back({place, place + 1});
    } else {
      found.push_back(lent.field.rangeBelow(position.node->layoutIndex));
    }
  }
  std::ranges::sort(found, {}, &Range::begin);
  // Subtrees of a chunk are mostly neighbours; longer runs make fuller groups.
  std::vector<Range> runs;
  for (const Range& range : found) {
    if (!runs.empty() && runs.back().end == range.begin) {
      runs.back().end = range.end;
    } else if (range.begin != range.end) {
      runs.push_back(range);
    }
  }
  return runs;
}

template <class Schema>
void GraphLayout<Schema>::LayoutTaskBase::evaluateForces() {
  Scratch scratch(calculator->memory->field);
  Range block;
  while (share.blocks->take(share.chunk, block)) {
    layout->calculateForces(*calculator, block, scratch);
    verticesDone += static_cast<int>(block.end - block.begin);
  }
}

template <class Schema>
template <class Visitor>
void GraphLayout<Schema>::LayoutTaskBase::integrate(const Visitor& visitor) {
  auto& lent = *calculator->memory;
  // Leaf order is no order of the graph's memory.
  constexpr std::uint32_t ahead = 8;
  for (const Range& run : *share.runs) {
    for (std::uint32_t place = run.begin; place < run.end; ++place) {
      const auto* soon = reinterpret_cast<const char*>(lent.leafOrder[std::min(place + ahead, run.end - 1)]);
      for (std::size_t line = 0; line < sizeof(Vertex) / 2; line += 64) __builtin_prefetch(soon + line, 1);
      Vertex& vertex = *lent.leafOrder[place];
      visitor(vertex);
      // The next phase sees the vertex where it is now, in a tree that stays as it was.
      layout->arrays.positions[lent.leafOrdinal[place]] = vertex.position;
      lent.field.moveParticle(place, vertex.position);
    }
    verticesDone += static_cast<int>(run.end - run.begin);
  }
}

template <class Schema>
void GraphLayout<Schema>::LayoutTask_Euler::run() {
  if (this->phase == 0) {
    this->evaluateForces();
  } else if (this->phase == 1) {
    this->integrate(EulerVisitor(this->dt));
  }
  ++this->phase;
}

template <class Schema>
void GraphLayout<Schema>::LayoutTask_RungeKutta::forces() {
  this->evaluateForces();
}

template <class Schema>
void GraphLayout<Schema>::LayoutTask_RungeKutta::run() {
  switch (this->phase) {
    case 0:
    case 2:
    case 4:
    case 6:
      forces();
      break;
    case 1:
      this->integrate(RKVisitor1(this->dt));
      break;
    case 3:
      this->integrate(RKVisitor2(this->dt));
      break;
    case 5:
      this->integrate(RKVisitor3(this->dt));
      break;
    case 7:
      this->integrate(RKVisitor4(this->dt));
      break;
    default:
      break;
  }
  ++this->phase;
}

template void GraphLayout<LayoutSchema>::step();
template void GraphLayout<LayoutSchema>::stepOnce();
template void GraphLayout<LayoutSchema>::step(float);
template void GraphLayout<LayoutSchema>::stepRungeKutta(float);
template void GraphLayout<LayoutSchema>::adaptStepScale();
template void GraphLayout<LayoutSchema>::refreshSpringConstant();
template void GraphLayout<LayoutSchema>::copyStartState();
template void GraphLayout<LayoutSchema>::makeThreadPool();
template void GraphLayout<LayoutSchema>::evaluateForcesSerially();
template void GraphLayout<LayoutSchema>::stepEuler(float);
template GraphLayout<LayoutSchema>::BarnesHutRepulsionCalculator GraphLayout<LayoutSchema>::buildTree();
template void GraphLayout<LayoutSchema>::splitSpacetree(BarnesHutRepulsionCalculator&, Spacetree::Iterator*, int);
template void GraphLayout<LayoutSchema>::parallelStep2<GraphLayout<LayoutSchema>::LayoutTask_Euler>(float,
                                                                                                    GraphLayoutTask*);
template void GraphLayout<LayoutSchema>::parallelStep2<GraphLayout<LayoutSchema>::LayoutTask_RungeKutta>(
    float, GraphLayoutTask*);

}  // namespace quorel
