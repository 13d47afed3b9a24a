#include "concurrency/Job.h"

#include <iostream>
#include <mutex>
#include <typeinfo>

#include "concurrency/Log.h"
#include "concurrency/ThreadPool.h"

namespace quorel {

Job::Job(ThreadPool<Job>* readyPool) : pool(readyPool) {}

Job::~Job() {
  if (!outEdges.empty()) {
    writeLine(std::cerr, "In ~", typeid(*this).name(), ", there is an out edge.");
  }
}

void Job::operator()() {
  run();
  releaseDependents();
}

void Job::precede(Job& later) {
  {
    const std::lock_guard<Lockable> hold(*this);
    outEdges.insert(&later);
  }
  const std::lock_guard<Lockable> hold(later);
  later.inEdges.insert(this);
}

void Job::releaseDependents() {
  for (Job* dependent : outEdges) {
    const std::lock_guard<Lockable> hold(*dependent);
    dependent->inEdges.erase(this);
    if (dependent->inEdges.empty()) dependent->pool->submit(dependent);
  }
  outEdges.clear();
}

}  // namespace quorel
