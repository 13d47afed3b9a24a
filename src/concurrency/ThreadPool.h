#pragma once

#include <pthread.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <mutex>
#include <set>
#include <thread>

#include "concurrency/Lockable.h"
#include "concurrency/ThreadPoolBase.h"

namespace quorel {

/// Worker threads that run ready jobs, first in, first out. `Job` offers `run()` and `releaseDependents()`.
/// Invariants: (1) `outstanding` is the number of jobs placed on the queue and not yet finished; (2) a dependent is
///             counted before the job that released it is uncounted, so `outstanding` does not pass through 0 in the
///             middle of a chain.
/// Threading:  every field is guarded by the pool's lock, and both condition variables are used with it; `jobInQueue`
///             is also looked at without it, by whoever then looks again.
/// Ownership:  jobs stay with their maker unless `deleteFinishedJobs` is set. The destructor lets the jobs at hand
///             finish, leaves those in the queue unrun, and returns when every worker has ended; it must not run on a
///             worker of the same pool.
/// Cost:       an idle worker sleeps. One that has run a job while others still run stays awake for up to 0.1 ms more:
///             between two phases of a step it would be woken at once, which takes longer. A job costs two lock round
///             trips beside those of its edges.
template <class Job>
class ThreadPool : public ThreadPoolBase, public Lockable {
public:
  /// Starts `threadCount` workers, or as many as the system grants.
  explicit ThreadPool(int threadCount, bool deleteFinished = false);
  ~ThreadPool() override;

  /// Places one job on the queue and wakes a worker.
  void submit(Job* job);

  /// Places a batch on the queue under one hold of the lock and wakes all workers.
  template <class Jobs>
  void submitAll(const Jobs& jobs);

  /// Returns when no job is outstanding. A pool that has no worker at all does its work in here.
  void waitUntilDone();

  void threadMain() override;

  std::set<pthread_t> threads;  // the live workers
  std::deque<Job*> queue;
  pthread_cond_t workAvailable;
  pthread_cond_t allDone;
  std::int32_t outstanding;
  bool shutdown;
  const bool deleteFinishedJobs;

private:
  static void* startThread(void* pool);

  /// Takes the front job and runs it. Entered and left with the pool's lock held.
  void runFrontJob();

  /// Looks out for a job that one of those at hand may release, for no longer than it takes to be woken. Entered and
  /// left with the pool's lock held.
  void stayAwake();

  std::atomic<bool> jobInQueue = false;  // says what `queue` is like, for a look without the lock
};

template <class Job>
ThreadPool<Job>::ThreadPool(int threadCount, bool deleteFinished)
    : outstanding(0), shutdown(false), deleteFinishedJobs(deleteFinished) {
  pthread_cond_init(&workAvailable, nullptr);
  pthread_cond_init(&allDone, nullptr);
  // Early workers are held at their first lock until `threads` is complete.
  const std::lock_guard<Lockable> hold(*this);
  for (int i = 0; i < threadCount; ++i) {
    pthread_t thread;
    if (pthread_create(&thread, nullptr, startThread, static_cast<ThreadPoolBase*>(this)) == 0) threads.insert(thread);
  }
}

template <class Job>
ThreadPool<Job>::~ThreadPool() {
  lock();
  const std::set<pthread_t> workers = threads;
  // Under the lock: a worker is then either before its test of `shutdown` or already asleep, and misses neither.
  shutdown = true;
  pthread_cond_broadcast(&workAvailable);
  unlock();
  for (const pthread_t worker : workers) pthread_join(worker, nullptr);
  pthread_cond_destroy(&workAvailable);
  pthread_cond_destroy(&allDone);
}

template <class Job>
void ThreadPool<Job>::submit(Job* job) {
  const std::lock_guard<Lockable> hold(*this);
  queue.push_back(job);
  jobInQueue.store(true, std::memory_order_relaxed);
  ++outstanding;
  pthread_cond_signal(&workAvailable);
}

template <class Job>
template <class Jobs>
void ThreadPool<Job>::submitAll(const Jobs& jobs) {
  const std::lock_guard<Lockable> hold(*this);
  for (Job* job : jobs) {
    queue.push_back(job);
    ++outstanding;
  }
  jobInQueue.store(!queue.empty(), std::memory_order_relaxed);
  pthread_cond_broadcast(&workAvailable);
}

template <class Job>
void ThreadPool<Job>::waitUntilDone() {
  const std::lock_guard<Lockable> hold(*this);
  while (outstanding != 0) {
    if (threads.empty() && !queue.empty()) {
      runFrontJob();
    } else {
      pthread_cond_wait(&allDone, &mutex);
    }
  }
}

template <class Job>
void ThreadPool<Job>::threadMain() {
  lock();
  bool mayStayAwake = false;  // after a job, once: what is woken for nothing sleeps on
  while (!shutdown) {
    if (!queue.empty()) {
      runFrontJob();
      mayStayAwake = true;
    } else if (mayStayAwake && outstanding != 0) {
      stayAwake();
      mayStayAwake = false;
    } else {
      pthread_cond_wait(&workAvailable, &mutex);
    }
  }
  threads.erase(pthread_self());
  unlock();
  pthread_exit(nullptr);
}

template <class Job>
void* ThreadPool<Job>::startThread(void* pool) {
  static_cast<ThreadPoolBase*>(pool)->threadMain();
  return nullptr;
}

template <class Job>
void ThreadPool<Job>::runFrontJob() {
  Job* job = queue.front();
  queue.pop_front();
  jobInQueue.store(!queue.empty(), std::memory_order_relaxed);
  unlock();
  job->run();
  job->releaseDependents();
  if (deleteFinishedJobs) delete job;
  lock();
  if (--outstanding == 0) pthread_cond_broadcast(&allDone);
}

template <class Job>
void ThreadPool<Job>::stayAwake() {
  constexpr std::chrono::microseconds patience{100};
  unlock();
  const auto end = std::chrono::steady_clock::now() + patience;
  while (!jobInQueue.load(std::memory_order_relaxed) && std::chrono::steady_clock::now() < end) {
    std::this_thread::yield();
  }
  lock();
}

class Job;
extern template class ThreadPool<Job>;

}  // namespace quorel
