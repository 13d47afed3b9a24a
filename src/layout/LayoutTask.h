#pragma once

#include <cstddef>
#include <vector>

#include "concurrency/Job.h"
#include "layout/BlockShare.h"
#include "layout/GraphLayout.h"

namespace quorel {

/// A job that takes part in a step of a layout: its phases, and the drawing beside them.
template <class Schema>
class GraphLayout<Schema>::GraphLayoutTask : public Job {
public:
  using Job::Job;
};

/// One phase of a step for one chunk of the tree.
/// Invariant: no particle is in two chunks, so that in a phase each vertex is written by one job. In a force phase a job
///            that is through with its own chunk helps with the others; each block of vertices goes to one job.
/// Threading: runs once, on a worker; jobs of a phase run together and those of the next wait for all of them.
/// Ownership: the step that makes a job deletes it, and owns the runs and the blocks.
template <class Schema>
class GraphLayout<Schema>::LayoutTaskBase : public GraphLayoutTask {
public:
  /// The chunk as runs of the leaf order, and the blocks of this phase, if it evaluates forces.
  struct Share {
    std::size_t chunk;
    const std::vector<Range>* runs;
    BlockShare* blocks;
  };

  LayoutTaskBase(ThreadPool<Job>* readyPool, BarnesHutRepulsionCalculator* stepCalculator, GraphLayout* stepLayout,
                 float stepSize, int stepPhase, const typename Spacetree::Iterator& chunk, const Share& workShare)
      : GraphLayoutTask(readyPool),
        calculator(stepCalculator),
        positions(chunk),
        layout(stepLayout),
        dt(stepSize),
        phase(stepPhase),
        share(workShare) {}

  /// The particles below some places of the tree as runs of the leaf order, ascending and as long as possible.
  static std::vector<Range> runsOf(const BarnesHutRepulsionCalculator& calculator,
                                   const typename Spacetree::Iterator& chunk);

  BarnesHutRepulsionCalculator* calculator;
  typename Spacetree::Iterator positions;
  GraphLayout* layout;
  int verticesDone = 0;
  float dt;
  int phase;

protected:
  void evaluateForces();

  /// Moves each vertex of the chunk.
  template <class Visitor>
  void integrate(const Visitor& visitor);

private:
  Share share;
};

template <class Schema>
class GraphLayout<Schema>::LayoutTask_Euler : public LayoutTaskBase {
public:
  static constexpr int phaseCount = 2;

  using LayoutTaskBase::LayoutTaskBase;
  void run() override;
};

template <class Schema>
class GraphLayout<Schema>::LayoutTask_RungeKutta : public LayoutTaskBase {
public:
  static constexpr int phaseCount = 8;

  using LayoutTaskBase::LayoutTaskBase;
  void run() override;
  void forces();
};

}  // namespace quorel
