#include "versioning/Arena.h"

#include <vector>

namespace quorel {

namespace {

constexpr std::size_t chunkSize = std::size_t{1} << 16;

struct Arena {
  std::vector<char*> chunks;  // keeps everything within reach of leak checkers
  std::size_t used = chunkSize;
};

}  // namespace

void* allocateForEver(std::size_t size) {
  static auto& arena = *new Arena;
  size = (size + alignof(void*) - 1) / alignof(void*) * alignof(void*);
  if (arena.used + size > chunkSize) {
    arena.chunks.push_back(static_cast<char*>(::operator new(chunkSize)));
    arena.used = 0;
  }
  char* const room = arena.chunks.back() + arena.used;
  arena.used += size;
  return room;
}

}  // namespace quorel
