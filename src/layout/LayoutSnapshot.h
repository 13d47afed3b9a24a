#pragma once

#include <atomic>

#include <boost/smart_ptr/intrusive_ptr.hpp>

namespace quorel {

/// A finished state of a layout, shared by whoever looks at it.
/// Ownership: counted; the last boost::intrusive_ptr deletes it.
/// Threading: the count is atomic; a snapshot never changes once made.
class LayoutSnapshot {
public:
  LayoutSnapshot() = default;
  LayoutSnapshot(const LayoutSnapshot&) = delete;
  LayoutSnapshot& operator=(const LayoutSnapshot&) = delete;
  virtual ~LayoutSnapshot() = default;

  friend void intrusive_ptr_add_ref(LayoutSnapshot* snapshot) {
    snapshot->references.fetch_add(1, std::memory_order_relaxed);
  }

  friend void intrusive_ptr_release(LayoutSnapshot* snapshot) {
    if (snapshot->references.fetch_sub(1, std::memory_order_acq_rel) == 1) delete snapshot;
  }

private:
  std::atomic<int> references{0};
};

}  // namespace quorel
