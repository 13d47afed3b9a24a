#include "concurrency/Platform.h"

#include <sched.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>

namespace quorel {

namespace {

int availableProcessors() {
  cpu_set_t allowed;
  if (sched_getaffinity(0, sizeof allowed, &allowed) == 0) return CPU_COUNT(&allowed);
  // More processors than the set has room for.
  return static_cast<int>(sysconf(_SC_NPROCESSORS_ONLN));
}

int fail(int error) {
  errno = error;
  return -1;
}

}  // namespace

int sysctlbyname(const char* name, void* value, std::size_t* size, const void* newValue, std::size_t newSize) {
  if (std::strcmp(name, "hw.ncpu") != 0) return fail(ENOENT);
  if (newValue != nullptr || newSize != 0) return fail(EPERM);
  const int count = availableProcessors();
  if (count < 1) return fail(EIO);
  if (*size < sizeof count) return fail(ENOMEM);
  std::memcpy(value, &count, sizeof count);
  *size = sizeof count;
  return 0;
}

int numProcessors() {
  int count = 0;
  std::size_t size = sizeof count;
  return sysctlbyname("hw.ncpu", &count, &size, nullptr, 0) == 0 ? count : 0;
}

int setThreadPriority(pthread_t thread, int priority) {
  int policy = 0;
  sched_param parameters = {};
  pthread_getschedparam(thread, &policy, &parameters);
  parameters.sched_priority = priority;
  return pthread_setschedparam(thread, policy, &parameters);
}

int setCurrentThreadPriority(int priority) {
  return setThreadPriority(pthread_self(), priority);
}

void sleepMilliseconds(int milliseconds) {
  const timespec duration = {milliseconds / 1000, (milliseconds % 1000) * 1000000L};
  nanosleep(&duration, nullptr);
}

}  // namespace quorel
