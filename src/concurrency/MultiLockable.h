#pragma once

#include <pthread.h>

#include <cstdint>

namespace quorel {

/// Base class of long-lived shared objects: a lock that its owning thread can take again and again.
/// Invariants: (1) `mutex` is held exactly while `count` is above 0; (2) `stateMutex` is never held while waiting for
///             `mutex`, so the owner's nested calls never wait for another thread's attempt.
/// Threading:  any thread; `unlock` only by the owner, once for each `lock`. Where several are held together they are
///             taken in the order layout, proxy, globalStyleLock. No condition variable and no try-lock belong to it.
///             Serves as a lock for std::lock_guard.
/// Ownership:  must not be held when it is destroyed. Its construction is constant initialisation, so that a global
///             one can be used by any static initialiser.
class MultiLockable {
public:
  /// The level says to the reader where the lock stands among the others; the object does not keep it.
  constexpr explicit MultiLockable([[maybe_unused]] int level)
      : mutex(PTHREAD_MUTEX_INITIALIZER), stateMutex(PTHREAD_MUTEX_INITIALIZER), owner(0), count(0) {}
  virtual ~MultiLockable();
  MultiLockable(const MultiLockable&) = delete;
  MultiLockable& operator=(const MultiLockable&) = delete;

  /// Returns when the calling thread owns the object.
  void lock();

  /// Gives up one level of ownership.
  void unlock();

protected:
  /// Written to `owner` at each release, so that a stale owner shows in a debugger; nothing compares against it.
  static constexpr pthread_t released = 0xfefefefe;

  pthread_mutex_t mutex;
  pthread_mutex_t stateMutex;
  pthread_t owner;     // guarded by stateMutex; means nothing while count is 0
  std::int32_t count;  // guarded by stateMutex
};

}  // namespace quorel
