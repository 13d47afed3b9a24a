#pragma once

#include <set>

#include "concurrency/Lockable.h"

namespace quorel {

template <class Job>
class ThreadPool;

/// A unit of work with edges to the jobs that must wait for it.
/// Invariants: (1) a job is in another's `outEdges` exactly while that one is in its `inEdges`; (2) a job goes on its
///             pool's queue at the moment its `inEdges` becomes empty, once, by the thread that emptied it;
///             (3) `outEdges` is empty after the job has finished.
/// Threading:  the edge sets are touched under the job's own lock while other threads can reach them. The locks of
///             two jobs are never held together; a pool's lock may be taken while a job's is held. `run` is called
///             with neither held.
/// Ownership:  whoever made the job deletes it, unless its pool was made with `deleteFinishedJobs`.
/// Cost:       O(log edges) an edge; one job lock for each edge and one pool lock for each job that becomes ready.
class Job : public Lockable {
public:
  /// `readyPool` runs the job when it becomes ready; it may be null only for a job that never gets an in-edge.
  explicit Job(ThreadPool<Job>* readyPool);

  /// Warns if another job still waits for this one.
  ~Job() override;

  /// The work itself.
  virtual void run() = 0;

  /// Runs the job on the calling thread, then releases the jobs that wait for it. The pool does not count it.
  void operator()();

  /// Makes `later` wait for this job. All edges of a graph are made before any of its jobs starts.
  void precede(Job& later);

  /// Takes this job out of its dependents' `inEdges` and queues those that have become ready. Called once, by the
  /// thread that ran the job.
  void releaseDependents();

  std::set<Job*> inEdges;
  std::set<Job*> outEdges;
  ThreadPool<Job>* pool;
};

}  // namespace quorel
