#include "concurrency/Job.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <iostream>
#include <memory>
#include <random>
#include <thread>
#include <typeinfo>
#include <vector>

#include "concurrency/ThreadPool.h"
#include "concurrency/heapnew.h"

namespace quorel {
namespace {

class FunctionJob : public Job {
public:
  FunctionJob(ThreadPool<Job>* readyPool, std::function<void()> work) : Job(readyPool), function(std::move(work)) {}
  void run() override { function(); }

private:
  std::function<void()> function;
};

/// A job that checks, as it runs, that all that it waits for has run, and that it runs once.
class OrderedJob : public Job {
public:
  using Job::Job;
  void run() override {
    for (const OrderedJob* job : before) inOrder = inOrder && job->runs == 1;
    // Plain fields: the thread sanitizer finds it if an edge does not order memory too.
    ++runs;
  }

  void follow(OrderedJob& earlier) {
    earlier.precede(*this);
    before.push_back(&earlier);
  }

  std::vector<OrderedJob*> before;
  int runs = 0;
  bool inOrder = true;
};

class JobsOnPool : public testing::TestWithParam<int> {};

// A pool without workers does its work in the wait for it.
INSTANTIATE_TEST_SUITE_P(PoolSizes, JobsOnPool, testing::Values(0, 1, 2, 3, 8));

TEST_P(JobsOnPool, randomGraphsRunInOrderAndOnceAroundAJobThatIsCalledDirectly) {
  const unsigned seed = 21;
  std::cout << "seed " << seed << '\n';
  std::mt19937 random(seed);
  ThreadPool<Job> pool(GetParam());
  for (int round = 0; round < 250; ++round) {
    // The first is called by this thread, and the last waits for all others, which mostly end together.
    std::vector<std::unique_ptr<OrderedJob>> jobs(2 + random() % 40);
    for (auto& job : jobs) job = std::make_unique<OrderedJob>(&pool);
    OrderedJob& called = *jobs.front();
    OrderedJob& last = *jobs.back();
    std::vector<Job*> ready;
    for (std::size_t later = 1; later < jobs.size(); ++later) {
      for (unsigned edges = random() % 4; edges > 0; --edges) jobs[later]->follow(*jobs[random() % later]);
      if (jobs[later].get() != &last) last.follow(*jobs[later]);
      if (round % 3 == 0) jobs[later]->follow(called);
      if (jobs[later]->inEdges.empty()) ready.push_back(jobs[later].get());
    }
    pool.submitAll(ready);
    if (round % 2 == 0) pool.waitUntilDone();
    called();
    pool.waitUntilDone();
    for (const auto& job : jobs) {
      ASSERT_EQ(job->runs, 1);
      ASSERT_TRUE(job->inOrder);
      ASSERT_TRUE(job->inEdges.empty() && job->outEdges.empty());
    }
    ASSERT_EQ(pool.outstanding, 0);
  }
}

TEST(ThreadPool, finishedJobsAreGoneBeforeTheWaitEnds) {
  ThreadPool<Job> pool(3, true);
  for (int round = 0; round < 100; ++round) {
    std::atomic<int> gone = 0;
    const auto go = [&gone](void*) {
      std::this_thread::sleep_for(std::chrono::microseconds(50));
      ++gone;
    };
    for (int i = 0; i < 5; ++i) pool.submit(new FunctionJob(nullptr, [owned = std::shared_ptr<void>(nullptr, go)] {}));
    pool.waitUntilDone();
    ASSERT_EQ(gone, 5);
  }
}

TEST(ThreadPool, stopReachesEveryWorkerFinishesTheJobAtHandAndLeavesTheQueueUnrun) {
  for (int round = 0; round < 500; ++round) {
    int threadCount = 1 + round % 4;
    auto* const pool = heapnew<ThreadPool<Job>, int>(threadCount);
    FunctionJob job(pool, [] {});
    if (round % 3 == 0) {
      pool->submit(&job);
      if (round % 2 == 0) pool->waitUntilDone();
    }
    delete pool;
  }
  std::atomic<bool> started = false, finished = false, queuedRan = false;
  auto pool = std::make_unique<ThreadPool<Job>>(1);
  FunctionJob slow(pool.get(), [&] {
    started = true;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    finished = true;
  });
  FunctionJob queued(pool.get(), [&] { queuedRan = true; });
  pool->submitAll(std::vector<Job*>{&slow, &queued});
  while (!started) std::this_thread::yield();
  pool.reset();
  EXPECT_TRUE(finished);
  EXPECT_FALSE(queuedRan);
}

TEST(Job, warnsWhenItGoesWhileAnotherWaitsForIt) {
  testing::internal::CaptureStderr();
  {
    OrderedJob later(nullptr);
    OrderedJob earlier(nullptr);
    later.follow(earlier);
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "In ~" + std::string(typeid(Job).name()) + ", there is an out edge.\n");
}

}  // namespace
}  // namespace quorel
