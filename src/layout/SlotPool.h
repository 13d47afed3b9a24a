#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace quorel {

/// Storage for many objects of one size that live side by side in memory.
///
/// The graph orders its vertices and edges by address, so that a walk over a set is a walk through memory as long as
/// they come from here.
/// Invariants: (1) slots are handed out at growing addresses within a block until one comes back;
///             (2) when the last live slot comes back, the pool starts over with its first slot, so that a graph
///                 loaded after a clear lies in memory as the first one did.
/// Threading:  its own mutex, held for a few instructions.
/// Ownership:  blocks are kept until the pool dies; the pools behind the graph are never destroyed.
/// Cost:       O(1). Blocks double in size; pages never touched cost nothing.
class SlotPool {
public:
  explicit SlotPool(std::size_t slotBytes);
  SlotPool(const SlotPool&) = delete;
  SlotPool& operator=(const SlotPool&) = delete;
  ~SlotPool();

  void* allocate();
  void release(void* slot);

private:
  struct FreeSlot {
    FreeSlot* next;
  };

  struct Block {
    std::byte* memory;
    std::size_t slotCount;
  };

  std::mutex mutex;
  std::size_t slotBytes;
  std::vector<Block> blocks;
  /// Block that `nextUnused` points into; blocks after it are empty.
  std::size_t currentBlock = 0;
  std::size_t usedInBlock = 0;
  FreeSlot* freeSlots = nullptr;
  std::size_t live = 0;
};

#if defined(__SANITIZE_ADDRESS__)
#define QUOREL_POOLED 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QUOREL_POOLED 0
#endif
#endif
#ifndef QUOREL_POOLED
#define QUOREL_POOLED 1
#endif

/// Under the address sanitizer the pools stand aside, so that it sees every object by itself.
inline constexpr bool pooled = QUOREL_POOLED != 0;
#undef QUOREL_POOLED

/// The process-wide pool for slots of this size. Immortal: the process may exit while other threads still work.
template <std::size_t slotBytes>
SlotPool& slotPool() {
  static SlotPool& pool = *new SlotPool(slotBytes);
  return pool;
}

/// Gives a class, and what derives from it with the same size, its place in the pools.
template <class Class>
class Pooled {
public:
  static void* operator new(std::size_t bytes) {
    static_assert(alignof(Class) <= alignof(void*), "slots are aligned for pointers");
    if (!pooled || bytes != sizeof(Class)) return ::operator new(bytes);
    return slotPool<sizeof(Class)>().allocate();
  }

  static void operator delete(void* slot, std::size_t bytes) {
    if (!pooled || bytes != sizeof(Class)) {
      ::operator delete(slot);
    } else {
      slotPool<sizeof(Class)>().release(slot);
    }
  }
};

/// Allocator that puts the nodes of an ordered set or map into a pool.
template <class T>
class PoolAllocator {
public:
  using value_type = T;

  PoolAllocator() = default;

  template <class U>
  PoolAllocator(const PoolAllocator<U>&) {}

  T* allocate(std::size_t n) {
    if (!pooled || n != 1) return std::allocator<T>().allocate(n);
    return static_cast<T*>(slotPool<sizeof(T)>().allocate());
  }

  void deallocate(T* p, std::size_t n) {
    if (!pooled || n != 1) {
      std::allocator<T>().deallocate(p, n);
    } else {
      slotPool<sizeof(T)>().release(p);
    }
  }

  template <class U>
  bool operator==(const PoolAllocator<U>&) const {
    return true;
  }
};

template <class Key, class Value>
using PooledMap = std::map<Key, Value, std::less<Key>, PoolAllocator<std::pair<const Key, Value>>>;

}  // namespace quorel
