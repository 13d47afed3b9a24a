// Preloaded into the server: counts its frames, makes chosen calls of the system fail, and invents processors.
//
//   PROBE_FRAMES=FILE    FILE holds the number of frames shown so far and the longest time between two of them since the
//                        reader last set it to 0: two 64-bit integers, the second in nanoseconds.
//   PROBE_FAIL=CALL:N:M  after the file PROBE_ARMED exists, M calls from the Nth on fail. CALL is malloc, pthread_create,
//                        accept or socket.
//   PROBE_STRUCK=FILE    FILE holds the number of such calls since then, and of those that failed: two 64-bit integers.
//   PROBE_PROCESSORS=N   so many processors seem to be there.
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace {

struct Frames {
  std::atomic<std::int64_t> count;
  std::atomic<std::int64_t> longestNanoseconds;
};

struct Strikes {
  std::atomic<std::int64_t> calls;
  std::atomic<std::int64_t> failed;
};

template <class Function>
Function original(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

/// What others can read meanwhile: the contents of the file that the environment names. Null where it names none.
template <class Contents>
Contents* openShared(const char* variable) {
  const char* path = std::getenv(variable);
  if (path == nullptr) return nullptr;
  const int file = open(path, O_RDWR | O_CREAT, 0644);
  if (file < 0 || ftruncate(file, sizeof(Contents)) != 0) return nullptr;
  void* memory = mmap(nullptr, sizeof(Contents), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  close(file);
  return memory == MAP_FAILED ? nullptr : static_cast<Contents*>(memory);
}

std::int64_t now() {
  timespec time;
  clock_gettime(CLOCK_MONOTONIC, &time);
  return time.tv_sec * std::int64_t{1000000000} + time.tv_nsec;
}

/// What PROBE_FAIL asks for. Plain data set before main: malloc must be able to read it.
struct Plan {
  char call[32];
  long first;
  long count;
  const char* armed;
};
Plan plan;
bool planned = false;
std::atomic<bool> armed{false};
Strikes unseen;
Strikes* strikes = &unseen;

__attribute__((constructor)) void readPlan() {
  const char* text = std::getenv("PROBE_FAIL");
  plan.armed = std::getenv("PROBE_ARMED");
  if (text == nullptr) return;
  const char* colon = std::strchr(text, ':');
  if (colon == nullptr || colon - text >= static_cast<long>(sizeof plan.call)) return;
  std::memcpy(plan.call, text, static_cast<std::size_t>(colon - text));
  char* end = nullptr;
  plan.first = std::strtol(colon + 1, &end, 10);
  plan.count = *end == ':' ? std::strtol(end + 1, nullptr, 10) : 1;
  if (Strikes* shared = openShared<Strikes>("PROBE_STRUCK")) strikes = shared;
  planned = true;
}

bool mustFail(const char* call) {
  if (!planned || std::strcmp(call, plan.call) != 0) return false;
  if (!armed.load(std::memory_order_relaxed)) {
    if (plan.armed != nullptr && access(plan.armed, F_OK) != 0) return false;
    armed = true;
  }
  const std::int64_t number = ++strikes->calls;
  if (number < plan.first || number >= plan.first + plan.count) return false;
  ++strikes->failed;
  return true;
}

}  // namespace

extern "C" {

void glutSwapBuffers() {
  static const auto swap = original<void (*)()>("glutSwapBuffers");
  static Frames* const frames = openShared<Frames>("PROBE_FRAMES");
  static std::int64_t last = now();
  swap();
  const std::int64_t time = now();
  if (frames != nullptr) {
    ++frames->count;
    if (time - last > frames->longestNanoseconds) frames->longestNanoseconds = time - last;
  }
  last = time;
}

/// The server's own malloc comes before one that is preloaded, and calls this.
void* __libc_malloc(std::size_t size) {
  static const auto allocate = original<void* (*)(std::size_t)>("__libc_malloc");
  if (mustFail("malloc")) {
    errno = ENOMEM;
    return nullptr;
  }
  return allocate(size);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*), void* argument) {
  static const auto create =
      original<int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*)>("pthread_create");
  return mustFail("pthread_create") ? EAGAIN : create(thread, attributes, start, argument);
}

int accept4(int listener, sockaddr* address, socklen_t* length, int flags) {
  static const auto take = original<int (*)(int, sockaddr*, socklen_t*, int)>("accept4");
  if (mustFail("accept")) {
    errno = EMFILE;
    return -1;
  }
  return take(listener, address, length, flags);
}

int sched_getaffinity(pid_t process, std::size_t size, cpu_set_t* processors) {
  static const auto ask = original<int (*)(pid_t, std::size_t, cpu_set_t*)>("sched_getaffinity");
  static const char* const invented = std::getenv("PROBE_PROCESSORS");
  if (invented == nullptr) return ask(process, size, processors);
  CPU_ZERO_S(size, processors);
  for (int i = 0; i < std::atoi(invented); ++i) CPU_SET_S(i, size, processors);
  return 0;
}

int socket(int domain, int type, int protocol) {
  static const auto make = original<int (*)(int, int, int)>("socket");
  if (mustFail("socket")) {
    errno = EMFILE;
    return -1;
  }
  return make(domain, type, protocol);
}

}  // extern "C"
