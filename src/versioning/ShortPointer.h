#pragma once

#include <cstddef>
#include <cstdint>

#include "versioning/NumberedStore.h"

namespace quorel {

/// A pointer to an object of a NumberedStore in half the room. Attributes of many objects are mostly such pointers.
template <class T>
class ShortPointer {
public:
  constexpr ShortPointer(std::nullptr_t = nullptr) {}
  ShortPointer(const T* object) : number(object == nullptr ? 0 : object->number) {}

  operator T*() const { return number == 0 ? nullptr : NumberedStore<T>::at(number); }
  T* operator->() const { return NumberedStore<T>::at(number); }

  template <class U>
  friend bool operator==(ShortPointer<U> a, ShortPointer<U> b);
  template <class U>
  friend bool operator==(ShortPointer<U> a, std::nullptr_t);

private:
  std::uint32_t number = 0;
};

template <class U>
bool operator==(ShortPointer<U> a, ShortPointer<U> b) {
  return a.number == b.number;
}

template <class U>
bool operator==(ShortPointer<U> a, std::nullptr_t) {
  return a.number == 0;
}

}  // namespace quorel
