#include "server/Turnstile.h"

namespace quorel {

void Turnstile::lock() {
  {
    std::unique_lock hold(mutex);
    if (occupied) {
      Waiter self;
      waiting.push_back(&self);
      self.turn.wait(hold, [&self] { return self.called; });
    }
    occupied = true;
  }
  guarded.lock();
  const std::lock_guard hold(mutex);
  if (waiting.empty()) {
    occupied = false;
  } else {
    Waiter& next = *waiting.front();
    waiting.pop_front();
    next.called = true;
    // Under the mutex: once called, the next thread may leave and take its condition variable along.
    next.turn.notify_one();
  }
}

std::size_t Turnstile::queueLength() {
  const std::lock_guard hold(mutex);
  return waiting.size() + (occupied ? 1 : 0);
}

}  // namespace quorel
