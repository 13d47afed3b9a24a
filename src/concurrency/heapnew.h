#pragma once

namespace quorel {

/// Makes a T on the heap from one argument.
template <class T, class A>
T* heapnew(A& argument) {
  return new T(argument);
}

}  // namespace quorel
