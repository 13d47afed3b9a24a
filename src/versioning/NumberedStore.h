#pragma once

#include <cstdint>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace quorel {

/// Room for objects of class T that stay for the life of the process and are referred to by ShortPointers. All objects
/// of a class have numbers of their own, whichever store made them; `T` has a field `number` for it.
/// A store takes its room by chunks, so that what it makes lies near together, and hands out the places of a chunk two
/// by two in scattered order: priorities are computed from addresses, and a treap of evenly spaced addresses is up to
/// twice as deep as one of random priorities. Two neighbours fit a cache line, as the pair of a version does.
/// Threading:  all stores of a class under one lock.
/// Cost:       O(1); no memory beside the objects but the rest of one chunk a store.
template <class T>
class NumberedStore {
public:
  template <class... Arguments>
  T& make(Arguments&&... arguments) {
    static_assert(std::is_trivially_destructible_v<T>);
    if (used == chunkSize) takeChunk();
    const std::uint32_t number = chunk * chunkSize + scatter(used++);
    T* const object = std::construct_at(at(number), std::forward<Arguments>(arguments)...);
    object->number = number;
    return *object;
  }

  /// The object of a number that is not 0.
  static T* at(std::uint32_t number) { return &chunks[number / chunkSize][number % chunkSize]; }

private:
  static constexpr std::uint32_t chunkSize = 1024;

  /// Exchanges the pairs of places of a chunk among one another.
  static constexpr std::uint32_t scatter(std::uint32_t place) {
    std::uint32_t pair = place / 2;
    for (int round = 0; round < 2; ++round) {
      pair ^= pair >> 4;
      pair = pair * 0x1d3 % (chunkSize / 2);
    }
    pair ^= pair >> 5;
    return 2 * pair + place % 2;
  }

  void takeChunk() {
    // The first chunk is left out, since 0 stands for no object at all.
    chunk = ++chunkCount;
    if (chunk >= chunkRoom) growTable();
    chunks[chunk] = static_cast<T*>(::operator new(chunkSize * sizeof(T), std::align_val_t(64)));
    used = 0;
  }

  static void growTable() {
    const std::uint32_t room = chunkRoom == 0 ? 16 : 2 * chunkRoom;
    auto** const table = new T*[room]();
    for (std::uint32_t i = 0; i < chunkRoom; ++i) table[i] = chunks[i];
    delete[] chunks;
    chunks = table;
    chunkRoom = room;
  }

  static inline T** chunks = nullptr;
  static inline std::uint32_t chunkCount = 0;
  static inline std::uint32_t chunkRoom = 0;

  std::uint32_t chunk = 0;
  std::uint32_t used = chunkSize;
};

}  // namespace quorel
