#include "concurrency/Job.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <iostream>
#include <memory>
#include <mutex>
#include <random>
#include <thread>
#include <typeinfo>
#include <vector>

#include "TimeLimit.h"
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

  std::vector<OrderedJob*> before;
  int runs = 0;
  bool inOrder = true;
};

class JobsOnPool : public testing::TestWithParam<int> {
protected:
  const TimeLimit limit{std::chrono::seconds(120)};
  const std::unique_ptr<ThreadPool<Job>> pool = std::make_unique<ThreadPool<Job>>(GetParam());

  std::vector<std::unique_ptr<OrderedJob>> makeJobs(int count) {
    std::vector<std::unique_ptr<OrderedJob>> jobs;
    for (int i = 0; i < count; ++i) jobs.push_back(std::make_unique<OrderedJob>(pool.get()));
    return jobs;
  }

  static void addEdge(OrderedJob& earlier, OrderedJob& later) {
    earlier.precede(later);
    later.before.push_back(&earlier);
  }
};

// A pool without workers does its work in the wait for it.
INSTANTIATE_TEST_SUITE_P(PoolSizes, JobsOnPool, testing::Values(0, 1, 2, 3, 8));

TEST_P(JobsOnPool, randomGraphsRunInOrderAndOnce) {
  const unsigned seed = 21;
  std::cout << "seed " << seed << '\n';
  std::mt19937 random(seed);
  for (int round = 0; round < 150; ++round) {
    const int count = 1 + random() % 40;
    const auto jobs = makeJobs(count);
    for (int later = 1; later < count; ++later) {
      for (unsigned edges = random() % 4; edges > 0; --edges) addEdge(*jobs[random() % later], *jobs[later]);
    }
    std::vector<Job*> ready;
    for (const auto& job : jobs) {
      if (job->inEdges.empty()) ready.push_back(job.get());
    }
    pool->submitAll(ready);
    pool->waitUntilDone();
    for (const auto& job : jobs) {
      ASSERT_EQ(job->runs, 1);
      ASSERT_TRUE(job->inOrder);
      ASSERT_TRUE(job->inEdges.empty() && job->outEdges.empty());
    }
    ASSERT_EQ(pool->outstanding, 0);
  }
}

TEST_P(JobsOnPool, aJobOfManyPredecessorsThatEndTogetherRunsOnce) {
  for (int round = 0; round < 100; ++round) {
    const auto jobs = makeJobs(13);
    std::vector<Job*> ready;
    for (int i = 0; i < 12; ++i) {
      addEdge(*jobs[i], *jobs[12]);
      ready.push_back(jobs[i].get());
    }
    pool->submitAll(ready);
    pool->waitUntilDone();
    ASSERT_EQ(jobs[12]->runs, 1);
    ASSERT_TRUE(jobs[12]->inOrder);
  }
}

TEST_P(JobsOnPool, aJobCalledDirectlyHoldsBackWhatWaitsForItAndIsNotCounted) {
  for (int round = 0; round < 50; ++round) {
    const auto jobs = makeJobs(8);
    OrderedJob& called = *jobs[7];
    for (int i = 0; i < 3; ++i) {
      addEdge(*jobs[i], *jobs[i + 3]);
      addEdge(called, *jobs[i + 3]);
    }
    addEdge(called, *jobs[6]);
    pool->submitAll(std::vector<Job*>{jobs[0].get(), jobs[1].get(), jobs[2].get()});
    if (round % 2 == 0) pool->waitUntilDone();
    for (int i = 3; i < 7; ++i) ASSERT_EQ(jobs[i]->runs, 0);
    called();
    pool->waitUntilDone();
    for (const auto& job : jobs) {
      ASSERT_EQ(job->runs, 1);
      ASSERT_TRUE(job->inOrder);
    }
  }
}

TEST(ThreadPool, finishedJobsAreGoneBeforeTheWaitEnds) {
  const TimeLimit limit(std::chrono::seconds(60));
  class CountedJob : public Job {
  public:
    explicit CountedJob(std::atomic<int>& counter) : Job(nullptr), living(counter) { ++living; }
    ~CountedJob() override {
      std::this_thread::sleep_for(std::chrono::microseconds(50));
      --living;
    }
    void run() override {}

  private:
    std::atomic<int>& living;
  };
  ThreadPool<Job> pool(3, true);
  std::atomic<int> living = 0;
  for (int round = 0; round < 100; ++round) {
    for (int i = 0; i < 5; ++i) pool.submit(new CountedJob(living));
    pool.waitUntilDone();
    ASSERT_EQ(living, 0);
  }
}

TEST(ThreadPool, stopReachesEveryWorkerWhateverItIsDoing) {
  const TimeLimit limit(std::chrono::seconds(120));
  for (int round = 0; round < 500; ++round) {
    int threadCount = 1 + round % 4;
    auto* const pool = heapnew<ThreadPool<Job>, int>(threadCount);
    std::atomic<int> run = 0;
    FunctionJob job(pool, [&] { ++run; });
    if (round % 3 == 0) {
      pool->submit(&job);
      if (round % 2 == 0) pool->waitUntilDone();
    }
    delete pool;
    ASSERT_LE(run, 1);
  }
}

TEST(ThreadPool, stopFinishesTheJobAtHandAndLeavesTheQueueUnrun) {
  const TimeLimit limit(std::chrono::seconds(60));
  std::atomic<bool> started = false;
  std::atomic<bool> finished = false;
  std::atomic<bool> queuedRan = false;
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
  FunctionJob later(nullptr, [] {});
  testing::internal::CaptureStderr();
  {
    FunctionJob quiet(nullptr, [] {});
    FunctionJob earlier(nullptr, [] {});
    earlier.precede(later);
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "In ~" + std::string(typeid(Job).name()) + ", there is an out edge.\n");
}

}  // namespace
}  // namespace quorel
