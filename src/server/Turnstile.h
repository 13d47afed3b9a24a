#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>

#include "concurrency/MultiLockable.h"

namespace quorel {

/// A fair way in to a lock that is not fair: whoever comes through here gets the lock in the order of arrival.
///
/// The main thread gives the layout back for microseconds between two steps, too short for a thread that sleeps on the
/// mutex to wake and take it; by itself it would starve. The main thread goes through here once a frame like everybody
/// else, and so stands behind those who came during the frame.
/// Invariants: (1) one thread at most is past the queue without holding the lock;
///             (2) a thread with the lock, however it came by it, does not enter.
/// Threading:  any thread. Between the queue and the lock there is nobody but those who take the lock directly.
/// Ownership:  refers to the lock, which outlives it.
/// Cost:       O(1); one wake-up a waiter.
class Turnstile {
public:
  explicit Turnstile(MultiLockable& lockBehind) : guarded(lockBehind) {}

  /// Returns when the calling thread owns the lock behind.
  void lock();
  void unlock() { guarded.unlock(); }

  /// Threads on their way to the lock.
  std::size_t queueLength();

private:
  struct Waiter {
    std::condition_variable turn;
    bool called = false;
  };

  MultiLockable& guarded;
  std::mutex mutex;             // guards the rest
  bool occupied = false;        // a thread is past the queue and waits for the lock
  std::deque<Waiter*> waiting;  // in the order of arrival; each stands on its thread's stack
};

}  // namespace quorel
