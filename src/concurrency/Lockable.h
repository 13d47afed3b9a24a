#pragma once

#include <pthread.h>

namespace quorel {

/// Base class of objects with a plain mutex of their own.
/// Threading:  not recursive; meant to be held for a few instructions. Serves as a lock for std::lock_guard.
class Lockable {
public:
  Lockable() { pthread_mutex_init(&mutex, nullptr); }
  virtual ~Lockable() { pthread_mutex_destroy(&mutex); }
  Lockable(const Lockable&) = delete;
  Lockable& operator=(const Lockable&) = delete;

  void lock() { pthread_mutex_lock(&mutex); }
  void unlock() { pthread_mutex_unlock(&mutex); }

protected:
  /// For derived classes that wait on a condition variable.
  pthread_mutex_t mutex;
};

}  // namespace quorel
