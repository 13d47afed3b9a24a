#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace quorel {

/// Sequence that only grows at its end and never moves an element. Also the room for objects that live as long
/// as their maker: those made one after the other lie one after the other.
/// Cost:       O(1) an access; memory beyond the elements is at most one chunk.
template <class T>
class ChunkedVector {
public:
  ChunkedVector() = default;
  ChunkedVector(const ChunkedVector&) = delete;
  ChunkedVector& operator=(const ChunkedVector&) = delete;
  ~ChunkedVector() {
    for (std::uint32_t i = 0; i < count; ++i) (*this)[i].~T();
    for (T* chunk : chunks) std::allocator<T>().deallocate(chunk, chunkSize);
  }

  std::uint32_t size() const { return count; }
  T& operator[](std::uint32_t i) { return chunks[i / chunkSize][i % chunkSize]; }
  const T& operator[](std::uint32_t i) const { return chunks[i / chunkSize][i % chunkSize]; }

  template <class... Arguments>
  T& emplace_back(Arguments&&... arguments) {
    if (count % chunkSize == 0) chunks.push_back(std::allocator<T>().allocate(chunkSize));
    T* const element = std::construct_at(&chunks.back()[count % chunkSize], std::forward<Arguments>(arguments)...);
    ++count;
    return *element;
  }

private:
  static constexpr std::size_t chunkSize = 256;

  std::vector<T*> chunks;
  std::uint32_t count = 0;
};

}  // namespace quorel
