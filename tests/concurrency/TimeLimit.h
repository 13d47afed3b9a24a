#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>

namespace quorel {

/// Ends the test program if this object still lives after the given time: a thread that waits for ever is a failure,
/// and there is no other way out of it.
class TimeLimit {
public:
  explicit TimeLimit(std::chrono::seconds limit)
      : guard([this, limit] {
          std::unique_lock hold(mutex);
          if (!ended.wait_for(hold, limit, [this] { return over; })) {
            std::fputs("time limit exceeded\n", stderr);
            std::abort();
          }
        }) {}

  ~TimeLimit() {
    {
      const std::lock_guard hold(mutex);
      over = true;
      ended.notify_one();
    }
    guard.join();
  }

private:
  std::mutex mutex;
  std::condition_variable ended;
  bool over = false;
  std::thread guard;
};

}  // namespace quorel
