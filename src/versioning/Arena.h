#pragma once

#include <cstddef>
#include <new>
#include <utility>

namespace quorel {

/// Room for objects that stay for the life of the process.
/// Threading:  under globalStyleLock.
/// Cost:       nothing beside the objects themselves; those made one after the other lie one after the other.
void* allocateForEver(std::size_t size);

template <class T, class... Arguments>
T* makeForEver(Arguments&&... arguments) {
  static_assert(alignof(T) <= alignof(void*));
  return ::new (allocateForEver(sizeof(T))) T(std::forward<Arguments>(arguments)...);
}

}  // namespace quorel
