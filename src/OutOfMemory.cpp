// Memory runs out in the libraries below as well, and not all of them look whether they got what they asked for. So the
// program's own allocation functions, which take the place of the C library's for all of them, never return null: an
// allocation that fails is tried again for a second, since others may give memory back, and then the process ends with a
// message and status 1. The memory itself is the C library's. What a graphics driver maps for itself does not come by here.

#include <unistd.h>

#include <cstddef>
#include <cstdlib>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
// A sanitizer's allocator ends the process with a message of its own.
#else

extern "C" {

void* __libc_malloc(std::size_t bytes);
void* __libc_calloc(std::size_t count, std::size_t bytes);
void* __libc_realloc(void* memory, std::size_t bytes);
void* __libc_memalign(std::size_t alignment, std::size_t bytes);

}  // extern "C"

namespace {

template <class Allocate>
void* insist(Allocate allocate) {
  constexpr int tries = 100;
  constexpr useconds_t pauseMicroseconds = 10000;
  for (int i = 0; i < tries; ++i) {
    usleep(pauseMicroseconds);
    if (void* memory = allocate()) return memory;
  }
  constexpr char message[] = "tessarel: out of memory\n";
  [[maybe_unused]] const auto written = write(STDERR_FILENO, message, sizeof message - 1);
  std::_Exit(EXIT_FAILURE);
}

/// Nobody has that much; who asks for it has lost count, and may be told.
constexpr std::size_t absurd = std::size_t{1} << 47;

}  // namespace

extern "C" {

void* malloc(std::size_t bytes) {
  void* memory = __libc_malloc(bytes);
  if (memory != nullptr || bytes >= absurd) return memory;
  return insist([bytes] { return __libc_malloc(bytes); });
}

void* calloc(std::size_t count, std::size_t bytes) {
  void* memory = __libc_calloc(count, bytes);
  if (memory != nullptr || bytes >= absurd || count >= absurd) return memory;
  return insist([count, bytes] { return __libc_calloc(count, bytes); });
}

void* realloc(void* old, std::size_t bytes) {
  void* memory = __libc_realloc(old, bytes);
  // With a size of 0 it frees.
  if (memory != nullptr || bytes == 0 || bytes >= absurd) return memory;
  return insist([old, bytes] { return __libc_realloc(old, bytes); });
}

void* aligned_alloc(std::size_t alignment, std::size_t bytes) {
  void* memory = __libc_memalign(alignment, bytes);
  if (memory != nullptr || bytes >= absurd) return memory;
  return insist([alignment, bytes] { return __libc_memalign(alignment, bytes); });
}

}  // extern "C"

#endif
