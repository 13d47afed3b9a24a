#pragma once

namespace quorel {

/// What a worker thread needs to know of its pool.
class ThreadPoolBase {
public:
  /// The body of a worker thread.
  virtual void threadMain() = 0;
  virtual ~ThreadPoolBase() = default;
};

}  // namespace quorel
