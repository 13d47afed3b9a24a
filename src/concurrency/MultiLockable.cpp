#include "concurrency/MultiLockable.h"

namespace quorel {

MultiLockable::~MultiLockable() {
  pthread_mutex_destroy(&mutex);
  pthread_mutex_destroy(&stateMutex);
}

void MultiLockable::lock() {
  pthread_mutex_lock(&stateMutex);
  if (count == 0 || !pthread_equal(owner, pthread_self())) {
    pthread_mutex_unlock(&stateMutex);
    pthread_mutex_lock(&mutex);
    pthread_mutex_lock(&stateMutex);
    owner = pthread_self();
  }
  ++count;
  pthread_mutex_unlock(&stateMutex);
}

void MultiLockable::unlock() {
  pthread_mutex_lock(&stateMutex);
  if (--count == 0) {
    // Still under stateMutex: whoever obtains `mutex` now has to pass it before it can write its own name.
    pthread_mutex_unlock(&mutex);
    owner = released;
  }
  pthread_mutex_unlock(&stateMutex);
}

}  // namespace quorel
